// A solve through the shared library in a program that also uses a LAPACK with 32-bit integers. The
// pivots decide which of two dependent equalities leaves the working set.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <iterator>
#include <limits>
#include <vector>

#include "activeset/driver.hpp"
#include "activeset/host.hpp"
#include "activeset/qp.hpp"
#include "install/foreign_blas.hpp"

namespace {

using testing::ElementsAre;

/// rows × cols array from its entries, column after column.
template <size_t rows, size_t cols>
const vxArray* matrix(const std::array<double, rows * cols>& entries) {
    return vxCreateDoubleMatrixFrom(entries.data(), rows, cols);
}

// The point nearest to the origin with x1 + x2 = 2 and x2 + x3 = 2. The first equality occurs
// twice, the second time doubled. The longer row is the first pivot, so the shorter one is dropped.
TEST(ForeignBlas, LeavesTheDependentEqualityToTheLibrary) {
    const activeset::CallScope scope;
    const double infinity = std::numeric_limits<double>::infinity();
    const vxArray* H = matrix<3, 3>({1, 0, 0, 0, 1, 0, 0, 0, 1});
    const vxArray* c = matrix<3, 1>({0, 0, 0});
    const vxArray* Aeq = matrix<3, 3>({1, 0, 2, 1, 1, 2, 0, 1, 0});
    const vxArray* beq = matrix<3, 1>({2, 2, 4});
    const vxArray* lb = matrix<3, 1>({-infinity, -infinity, -infinity});
    const vxArray* ub = matrix<3, 1>({infinity, infinity, infinity});
    const vxArray* x0 = matrix<3, 1>({0, 0, 0});
    const vxArray* display = vxCreateCharArray("off");
    const vxArray* none = nullptr;
    vxArray* x = nullptr;
    vxArray* Weq = nullptr;
    vxArray* exitflag = nullptr;
    NullSpaceASdriver(H, c, none, none, Aeq, beq, lb, ub, x0, none, none, none, none, none, none,
                      none, display, &x, nullptr, nullptr, &Weq, nullptr, nullptr, nullptr,
                      &exitflag);

    EXPECT_EQ(vxGetElement(exitflag, 0, 0), 1.0);
    ASSERT_EQ(vxGetM(Weq), 2U);
    EXPECT_EQ(vxGetElement(Weq, 0, 0), 2.0);
    EXPECT_EQ(vxGetElement(Weq, 1, 0), 3.0);
    const double rounding = 32 * std::numeric_limits<double>::epsilon();
    EXPECT_NEAR(vxGetElement(x, 0, 0), 2.0 / 3.0, rounding);
    EXPECT_NEAR(vxGetElement(x, 1, 0), 4.0 / 3.0, rounding);
    EXPECT_NEAR(vxGetElement(x, 2, 0), 2.0 / 3.0, rounding);

    EXPECT_THAT(foreign::pivots(), ElementsAre(2, 3, 1));
}

size_t threads() {
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/task"),
                                             std::filesystem::directory_iterator()));
}

// OPENBLAS_NUM_THREADS=2 is meant for the other BLAS, which may have started threads before main().
// This library uses threads only when its interface is asked for them.
TEST(ForeignBlas, HasNoSayInTheThreadsOfTheLibrary) {
    constexpr size_t n = 200;  // so large that a BLAS would use several threads
    const size_t before = threads();
    std::vector<double> H(n * n, 1.0);
    for (size_t j = 0; j < n; ++j) {
        H[j * (n + 1)] = 2.0;
    }
    const std::vector<double> c(n, -1.0);
    EXPECT_NEAR(activeset::solve({.H = {H, n, n}, .c = c}).objective, -0.5 * n / (n + 1.0), 1e-12);
    EXPECT_EQ(threads(), before);
    EXPECT_EQ(activeset::blasThreads(), 1);
}

}  // namespace
