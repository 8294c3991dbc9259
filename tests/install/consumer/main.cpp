// Solves one problem through the installed headers and library:
// minimise 1/2 (x1² + x2²) - x1 - 2 x2 subject to x1 + x2 <= 1. On the line x1 + x2 = 1 the
// gradient (x1 - 1, x2 - 2) is -lambda (1, 1), so lambda = 1, x = (0, 1) and the objective is -3/2.
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <limits>
#include <string>

#include "activeset/driver.hpp"
#include "activeset/host.hpp"

namespace {

bool isClose(const char* name, double value, double expected) {
    const bool close = std::abs(value - expected) <= 16 * std::numeric_limits<double>::epsilon();
    std::printf("%-8s %.17g, expected %g%s\n", name, value, expected, close ? "" : "  WRONG");
    return close;
}

/// rows × cols array from its entries, column after column.
template <std::size_t rows, std::size_t cols>
const vxArray* matrix(const std::array<double, rows * cols>& entries) {
    return vxCreateDoubleMatrixFrom(entries.data(), rows, cols);
}

}  // namespace

int main() {
    std::printf("activeset %s of %s\n", activeset_version, activeset_build_date);
    if (std::string(activeset_version) != PACKAGE_VERSION) {
        std::printf("the package says " PACKAGE_VERSION "\n");
        return 1;
    }

    const activeset::CallScope scope;
    const double infinity = std::numeric_limits<double>::infinity();
    const vxArray* H = matrix<2, 2>({1, 0, 0, 1});
    const vxArray* c = matrix<2, 1>({-1, -2});
    const vxArray* A = matrix<1, 2>({1, 1});
    const vxArray* b = matrix<1, 1>({1});
    const vxArray* lb = matrix<2, 1>({-infinity, -infinity});
    const vxArray* ub = matrix<2, 1>({infinity, infinity});
    const vxArray* x0 = matrix<2, 1>({-1, -1});
    const vxArray* display = vxCreateCharArray("off");
    const vxArray* none = nullptr;
    vxArray* x = nullptr;
    vxArray* f = nullptr;
    vxArray* lambda = nullptr;
    vxArray* exitflag = nullptr;
    NullSpaceASdriver(H, c, A, b, none, none, lb, ub, x0, none, none, none, none, none, none, none,
                      display, &x, &f, &lambda, nullptr, nullptr, nullptr, nullptr, &exitflag);
    const bool right = isClose("state", vxGetElement(exitflag, 0, 0), 1.0) &&
                       isClose("x1", vxGetElement(x, 0, 0), 0.0) &&
                       isClose("x2", vxGetElement(x, 1, 0), 1.0) &&
                       isClose("f", vxGetElement(f, 0, 0), -1.5) &&
                       isClose("lambda", vxGetElement(lambda, 0, 0), 1.0);
    return right ? 0 : 1;
}
