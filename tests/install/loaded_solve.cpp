// A module that uses the library, for a host to load: one solve behind a C function.
#include <activeset/driver.hpp>
#include <vector>

/// The value at the optimum of n variables with H = I + 1·1ᵀ, c = −1, 0 ≤ x ≤ 2 / (n + 1): no bound
/// is active, all x are 1 / (n + 1), and the value is −½n / (n + 1).
extern "C" double loadedSolve(int n, int blasThreads) {
    activeset::setBlasThreads(blasThreads);
    const activeset::CallScope scope;
    const auto size = static_cast<size_t>(n);
    std::vector<double> H(size * size, 1.0);
    for (size_t i = 0; i < size; ++i) {
        H[i * size + i] = 2.0;
    }
    const auto column = [&](double value) {
        return vxCreateDoubleMatrixFrom(std::vector<double>(size, value).data(), size, 1);
    };
    vxArray* f = nullptr;
    NullSpaceASdriver(vxCreateDoubleMatrixFrom(H.data(), size, size), column(-1.0), nullptr,
                      nullptr, nullptr, nullptr, column(0.0), column(2.0 / (n + 1.0)), column(0.0),
                      nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                      vxCreateCharArray("off"), nullptr, &f, nullptr, nullptr, nullptr, nullptr,
                      nullptr, nullptr);
    return vxGetElement(f, 0, 0);
}
