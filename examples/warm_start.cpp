// A sequence of similar problems: each solve starts at the solution of the previous one, with its
// working set.
//
// The point of the box 0 ≤ x ≤ 1 that is nearest to a target t minimises ½xᵀx - tᵀx. Its entries
// are those of t, clipped to [0, 1]; the results are compared with them.
#include <activeset/driver.hpp>
#include <activeset/host.hpp>
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <vector>

namespace {

constexpr std::size_t n = 12;

vxArray* column(const std::vector<double>& values) {
    return vxCreateDoubleMatrixFrom(values.data(), values.size(), 1);
}

/// The end of one solve, where the next one starts.
struct Start {
    vxArray* x;
    vxArray* Wlower;  // null and empty lists mean that nothing is active
    vxArray* Wupper;
};

vxArray* identity() {
    vxArray* H = vxCreateDoubleMatrix(n, n, vxComplexity::Real);
    for (std::size_t i = 0; i < n; ++i) {
        vxGetDoubles(H)[i * n + i] = 1.0;
    }
    return H;
}

/// Solves for target t, prints the work done, and returns the end as the next start.
Start solve(const char* what, const std::vector<double>& t, const Start& start, bool& isRight) {
    std::vector<double> c(t);
    std::transform(c.begin(), c.end(), c.begin(), [](double entry) { return -entry; });
    Start end{};
    vxArray* exitflag = nullptr;
    NullSpaceASdriver(identity(), column(c), nullptr, nullptr, nullptr, nullptr,
                      column(std::vector<double>(n, 0.0)), column(std::vector<double>(n, 1.0)),
                      start.x, nullptr, start.Wlower, start.Wupper, nullptr, nullptr, nullptr,
                      nullptr, vxCreateCharArray("off"), &end.x, nullptr, nullptr, nullptr, nullptr,
                      &end.Wlower, &end.Wupper, &exitflag);
    std::printf("%-12s state %g, %zu bounds active, %d iterations\n", what,
                vxGetElement(exitflag, 0, 0), vxGetM(end.Wlower) + vxGetM(end.Wupper),
                activeset::lastSolveReport().iterations);
    isRight = isRight && vxGetElement(exitflag, 0, 0) == 1.0;
    for (std::size_t i = 0; i < n; ++i) {
        const double expected = std::clamp(t[i], 0.0, 1.0);
        isRight = isRight && std::abs(vxGetElement(end.x, i, 0) - expected) < 1e-12;
    }
    return end;
}

}  // namespace

int main() {
    const activeset::CallScope scope;
    try {
        std::vector<double> t{-0.9, 1.8, 0.3, -0.4, 1.1, 0.6, 1.5, -0.2, 0.8, -1.3, 1.9, 0.1};
        const Start middle{column(std::vector<double>(n, 0.5)), nullptr, nullptr};
        bool isRight = true;
        const Start first = solve("first:", t, middle, isRight);

        // The target moves a little: one bound becomes inactive, another one active.
        t[4] = 0.9;
        t[11] = -0.1;
        solve("next, warm:", t, first, isRight);
        const int warm = activeset::lastSolveReport().iterations;
        solve("next, cold:", t, middle, isRight);
        const int cold = activeset::lastSolveReport().iterations;
        return isRight && warm < cold ? 0 : 1;
    } catch (const activeset::HostError& error) {
        std::fprintf(stderr, "%s: %s\n", error.identifier().c_str(), error.what());
        return 1;
    }
}
