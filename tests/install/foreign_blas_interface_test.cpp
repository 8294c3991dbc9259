// A solve through the shared library in a program that also uses a LAPACK with 32-bit integers.
// Which of two dependent equalities leaves the working set is read from the pivots.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <iterator>
#include <limits>

#include "activeset/driver.hpp"
#include "activeset/host.hpp"
#include "install/foreign_blas.hpp"

namespace {

using testing::ElementsAre;

/// rows × cols array from its entries, column after column.
template <size_t rows, size_t cols>
const vxArray* matrix(const std::array<double, rows * cols>& entries) {
    return vxCreateDoubleMatrixFrom(entries.data(), rows, cols);
}

// Nearest point to the origin with x1 + x2 = 2 and x2 + x3 = 2, where the first equality is given
// twice, the second time doubled. The longer row is pivoted first, so the shorter one is dropped.
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

// Run with OPENBLAS_NUM_THREADS=2, a request to the other BLAS. The library starts no threads when
// it is loaded, and uses them only when asked through its interface.
TEST(ForeignBlas, HasNoSayInTheThreadsOfTheLibrary) {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    EXPECT_EQ(std::distance(begin(tasks), end(tasks)), 1);
    EXPECT_EQ(activeset::blasThreads(), 1);
}

}  // namespace
