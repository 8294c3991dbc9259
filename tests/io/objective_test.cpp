// The objective: constant, sense, quadratic part, and numbers to the last bit.
#include <gtest/gtest.h>

#include "io/read.hpp"

namespace activeset::io::tests {
namespace {

std::string quadratic(const std::string& section) {
    return "NAME q FREE\nROWS\n N o\nCOLUMNS\n x o 0\n y o -1\n z o 0\n" + section + "ENDATA\n";
}

TEST(Objective, TheConstantIsMinusTheRightHandSideOfItsRow) {
    EXPECT_EQ(read(smallFile("RHS\n b o 100 r 4\n")).constant, -100.0);
    EXPECT_EQ(read(smallFile("RHS\n b o -2.5\n")).constant, 2.5);
    EXPECT_EQ(read(smallFile("")).constant, 0.0);
}

TEST(Objective, OneTriangleInEitherOrderGivesBoth) {
    // Column by column; (y, x) stands above the diagonal, (y, z) below it.
    const Numbers expected{8, 2, 0, 2, 10, -3, 0, -3, 0};

    EXPECT_EQ(read(quadratic("QUADOBJ\n x x 8\n y x 2\n y y 10\n y z -3\n")).H, expected);
    EXPECT_EQ(read(quadratic("QUADOBJ\n z y -3\n y y 10\n x y 2 x 8\n")).H, expected);
}

TEST(Objective, TheFullMatrixIsTakenAsItStands) {
    const Problem problem =
        read(quadratic("QMATRIX\n x x 8\n x y 2\n y x 2\n y y 10\n y z -3\n z y -3\n z x 0\n"));

    EXPECT_EQ(problem.H, (Numbers{8, 2, 0, 2, 10, -3, 0, -3, 0}));
}

TEST(Objective, AMaximumIsTurnedIntoAMinimum) {
    const std::string body =
        "ROWS\n N o\n L r\nCOLUMNS\n x o 3 r 1\nRHS\n b o 5 r 2\nQUADOBJ\n x x -4\nENDATA\n";
    for (const char* const sense : {"OBJSENSE\n MAX\n", "OBJSENSE MAXIMIZE\n"}) {
        const Problem problem = read(sense + body);
        EXPECT_TRUE(problem.maximise);
        EXPECT_EQ(problem.c, Numbers{-3});
        EXPECT_EQ(problem.constant, 5.0);
        EXPECT_EQ(problem.H, Numbers{4});
        EXPECT_EQ(problem.A, Numbers{1});
        EXPECT_EQ(problem.b, Numbers{2});
    }
    EXPECT_FALSE(read("OBJSENSE\n MIN\n" + body).maximise);
}

TEST(Objective, AMatrixOfExplicitZerosIsAnEmptyOne) {
    EXPECT_EQ(read(quadratic("QUADOBJ\n")).H, Numbers(9, 0.0));
    EXPECT_EQ(read(quadratic("QMATRIX\n x y 0\n")).H, Numbers(9, 0.0));
}

TEST(Numbers, AreRoundedCorrectlyWhereverTheyStand) {
    // Each of these comes out one or more units in the last place off when the digits are summed
    // up and scaled by a power of ten.
    const Problem problem = read(
        "ROWS\n N o\n L r\n E s\n"
        "COLUMNS\n x o 0.3 r -.100000e+01\n x s 0.48485306470651324\n"
        "RHS\n b o 0.100000e+03 r 123456789.123456789\n b s +1.7E-5\n"
        "BOUNDS\n UP B x 0.7\n"
        "QUADOBJ\n x x .200000e+01\nENDATA\n");

    EXPECT_EQ(problem.c, Numbers{0.3});
    EXPECT_EQ(problem.A, Numbers{-1.0});
    EXPECT_EQ(problem.Aeq, Numbers{0.48485306470651324});
    EXPECT_EQ(problem.constant, -100.0);
    EXPECT_EQ(problem.b, Numbers{123456789.123456789});
    EXPECT_EQ(problem.beq, Numbers{1.7e-5});
    EXPECT_EQ(problem.ub, Numbers{0.7});
    EXPECT_EQ(problem.H, Numbers{2.0});
}

TEST(Numbers, KeepTheSmallestAndTheLargest) {
    const Problem problem =
        read(smallFile("RHS\n b o 1.7976931348623157e308 r 5e-324\nQUADOBJ\n x y 1e-200\n"));

    EXPECT_EQ(problem.constant, -1.7976931348623157e308);
    EXPECT_EQ(problem.b, Numbers{5e-324});
    EXPECT_EQ(problem.H, (Numbers{0, 1e-200, 1e-200, 0}));
}

}  // namespace
}  // namespace activeset::io::tests
