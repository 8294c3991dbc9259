// Calls inside the library, through the static library, in a program that also uses a LAPACK with
// 32-bit integers. Pivots of that width would fill only half of each 64-bit entry.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

#include "host/lapack.hpp"
#include "install/foreign_blas.hpp"

namespace {

using testing::ElementsAre;

TEST(ForeignBlas, LeavesThePivotsOfTheLibraryAlone) {
    std::array<double, 9> a = foreign::Columns;
    std::array<activeset::Int, 3> jpvt{};
    std::array<double, 3> tau{};
    const activeset::Int info =
        activeset::lapack::geqp3({a.data(), 3, 3, 3}, jpvt.data(), tau.data());
    EXPECT_EQ(info, 0);
    EXPECT_THAT(jpvt, ElementsAre(2, 3, 1));
    EXPECT_THAT(foreign::pivots(), ElementsAre(2, 3, 1));
}

}  // namespace
