// Smallest risk for a required return: a quadratic program through the entry function.
//
// Four assets with expected returns mu (per cent a year) and covariances V (per cent squared). The
// weights x minimise ½xᵀVx subject to sum(x) = 1, muᵀx ≥ 7 and x ≥ 0. With x = (1/2, 1/4, 1/4, 0):
//
//   Vx = (3, 7, 11, 7) = -1·(1, 1, 1, 1) + 1·mu + 2·(0, 0, 0, 1)
//
// so that the multipliers are 1 (sum), 1 (return) and 2 (fourth lower bound), and ½xᵀVx = 3.
#include <activeset/driver.hpp>
#include <activeset/host.hpp>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <limits>
#include <vector>

namespace {

vxArray* matrix(const std::vector<double>& columnMajor, std::size_t rows, std::size_t cols) {
    return vxCreateDoubleMatrixFrom(columnMajor.data(), rows, cols);
}

vxArray* column(const std::vector<double>& values) {
    return matrix(values, values.size(), 1);
}

bool isNear(const vxArray* actual, const std::vector<double>& expected) {
    for (std::size_t i = 0; i < expected.size(); ++i) {
        if (!(std::abs(vxGetElement(actual, i, 0) - expected[i]) < 1e-12)) {
            return false;
        }
    }
    return vxGetM(actual) == expected.size();
}

}  // namespace

int main() {
    const double infinity = std::numeric_limits<double>::infinity();
    const activeset::CallScope scope;  // frees every array below when main returns
    try {
        const vxArray* V = matrix({4, 4, 0, 4, 4, 20, 0, 8, 0, 0, 44, 12, 4, 8, 12, 25}, 4, 4);
        const vxArray* zeros = column({0, 0, 0, 0});
        const vxArray* minusMu = matrix({-4, -8, -12, -6}, 1, 4);  // muᵀx ≥ 7 as -muᵀx ≤ -7
        vxArray* x = nullptr;
        vxArray* f = nullptr;
        vxArray* lambda = nullptr;
        vxArray* exitflag = nullptr;
        NullSpaceASdriver(V, zeros, minusMu, column({-7}), matrix({1, 1, 1, 1}, 1, 4), column({1}),
                          zeros, column(std::vector<double>(4, infinity)),  // bounds
                          column({0.25, 0.25, 0.25, 0.25}),                 // start
                          nullptr, nullptr, nullptr,                        // active at the start
                          nullptr, nullptr, nullptr, nullptr, vxCreateCharArray("off"),  // options
                          &x, &f, &lambda, nullptr, nullptr, nullptr, nullptr, &exitflag);
        std::printf("state %g\n", vxGetElement(exitflag, 0, 0));
        for (std::size_t i = 0; i < vxGetM(x); ++i) {
            const double perCent = std::round(1e4 * vxGetElement(x, i, 0)) / 100.0;
            std::printf("asset %zu: %6.2f %%\n", i + 1, perCent + 0.0);  // no negative zero
        }
        std::printf("risk: %.4f %% a year\n", std::sqrt(2.0 * vxGetElement(f, 0, 0)));
        // Multipliers: equalities first, then inequalities.
        std::printf("multiplier of the return: %.4f\n", vxGetElement(lambda, 1, 0));
        const bool isRight = vxGetElement(exitflag, 0, 0) == 1.0 &&
                             isNear(x, {0.5, 0.25, 0.25, 0.0}) && isNear(f, {3.0}) &&
                             isNear(lambda, {1, 1, 0, 0, 0, 2, 0, 0, 0, 0});
        return isRight ? 0 : 1;
    } catch (const activeset::HostError& error) {
        std::fprintf(stderr, "%s: %s\n", error.identifier().c_str(), error.what());
        return 1;
    }
}
