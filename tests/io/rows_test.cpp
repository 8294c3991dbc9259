// Rows of every type, with and without ranges, and where they land in the dense form.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "io/read.hpp"

namespace activeset::io::tests {
namespace {

/// One row each of the types L, G, E, L, E between the columns x and y.
std::string fiveRows(const std::string& sides, const std::string& ranges) {
    return "NAME rows FREE\n"
           "ROWS\n N cost\n L l1\n G g1\n E e1\n L l2\n E e2\n"
           "COLUMNS\n"
           " x cost 5 l1 1\n x g1 2 e1 3\n x l2 4\n"
           " y l1 -1 g1 0.5\n y e2 7\n"
           "RHS\n" +
           sides + "RANGES\n" + ranges + "ENDATA\n";
}

TEST(RowTypes, GreaterRowsAreNegatedAndEqualitiesKeptApart) {
    const Problem problem = read(fiveRows(" b l1 10 g1 20\n b e1 30 l2 40\n b e2 50\n", ""));

    EXPECT_EQ(problem.n, 2U);
    EXPECT_EQ(problem.c, (Numbers{5, 0}));
    ASSERT_EQ(problem.mIneq, 3U);
    EXPECT_EQ(problem.A, (Numbers{1, -2, 4, -1, -0.5, 0}));
    EXPECT_EQ(problem.b, (Numbers{10, -20, 40}));
    ASSERT_EQ(problem.mEq, 2U);
    EXPECT_EQ(problem.Aeq, (Numbers{3, 0, 0, 7}));
    EXPECT_EQ(problem.beq, (Numbers{30, 50}));
    EXPECT_EQ(problem.inequalities[1].row, "g1");
    EXPECT_FALSE(problem.inequalities[1].upper);
    EXPECT_TRUE(problem.inequalities[2].upper);
    EXPECT_EQ(problem.equalityNames, (std::vector<std::string>{"e1", "e2"}));
    EXPECT_EQ(problem.variableNames, (std::vector<std::string>{"x", "y"}));
}

TEST(RowTypes, ARowWithoutRightHandSideHasZero) {
    const Problem problem = read(fiveRows(" b l2 40\n", ""));

    EXPECT_EQ(problem.b, (Numbers{0, 0, 40}));
    EXPECT_EQ(problem.beq, (Numbers{0, 0}));
}

TEST(Ranges, GiveTwoConsecutiveRowsUpperSideFirst) {
    // l1 in [10 - 4, 10], g1 in [20, 20 + 3], e1 in [30, 30 + 2], e2 in [50 - 6, 50].
    const Problem problem = read(
        fiveRows(" b l1 10 g1 20\n b e1 30 l2 40\n b e2 50\n", " R l1 4 g1 -3\n R e1 2 e2 -6\n"));

    EXPECT_EQ(problem.mEq, 0U);
    ASSERT_EQ(problem.mIneq, 9U);
    EXPECT_EQ(problem.b, (Numbers{10, -6, 23, -20, 32, -30, 40, 50, -44}));
    const std::vector<double> columnOfX(problem.A.begin(), problem.A.begin() + 9);
    EXPECT_EQ(columnOfX, (Numbers{1, -1, 2, -2, 3, -3, 4, 0, 0}));
    EXPECT_EQ(problem.inequalities[4].row, "e1");
    EXPECT_TRUE(problem.inequalities[4].upper);
    EXPECT_EQ(problem.inequalities[5].row, "e1");
    EXPECT_FALSE(problem.inequalities[5].upper);
    EXPECT_EQ(problem.inequalities[6].row, "l2");
}

TEST(Ranges, OfZeroWidthAreEqualities) {
    const Problem problem = read(fiveRows(" b l1 10 e1 30\n", " R l1 0 e1 0\n"));

    EXPECT_EQ(problem.equalityNames, (std::vector<std::string>{"l1", "e1", "e2"}));
    EXPECT_EQ(problem.beq, (Numbers{10, 30, 0}));
    EXPECT_EQ(problem.mIneq, 2U);
}

TEST(Ranges, MayStandBeforeTheRightHandSides) {
    const Problem problem = read(smallFile("RANGES\n R r 2\nRHS\n b r 5\n"));

    EXPECT_EQ(problem.b, (Numbers{5, -3}));
}

TEST(InfiniteSides, GiveNoRow) {
    const Problem problem = read(fiveRows(" b l1 inf g1 -1e20\n b e1 30\n", " R e1 1e30\n"));

    // What remains: e1 is at least 30, l2 at most 0.
    ASSERT_EQ(problem.mIneq, 2U);
    EXPECT_EQ(problem.inequalities[0].row, "e1");
    EXPECT_FALSE(problem.inequalities[0].upper);
    EXPECT_EQ(problem.b, (Numbers{-30, 0}));
}

TEST(InfiniteSides, JustBelowTheLimitAreOrdinaryNumbers) {
    const double justBelow = std::nextafter(1e20, 0.0);

    EXPECT_EQ(read(smallFile("RHS\n b r 99999999999999983616\n")).b, Numbers{justBelow});
}

TEST(FurtherObjectiveRows, AreIgnoredWithANote) {
    const Problem problem =
        read("ROWS\n N o\n N p\n L r\nCOLUMNS\n x o 1 p 2\n x r 3\nRHS\n b p 7 r 4\nENDATA\n");

    EXPECT_EQ(problem.c, Numbers{1});
    EXPECT_EQ(problem.constant, 0.0);
    EXPECT_EQ(problem.A, Numbers{3});
    EXPECT_EQ(problem.b, Numbers{4});
    ASSERT_EQ(problem.notes.size(), 1U);
    EXPECT_EQ(problem.notes[0].line, 3U);
    EXPECT_EQ(problem.notes[0].text, "row 'p' is a second objective and is ignored");
}

TEST(Rows, AreNotNeededBesideTheObjective) {
    const Problem problem = read("ROWS\n N o\nCOLUMNS\n x o 1\n y o 0\nENDATA\n");

    EXPECT_EQ(problem.n, 2U);
    EXPECT_EQ(problem.mIneq + problem.mEq, 0U);
    EXPECT_TRUE(problem.A.empty());
}

}  // namespace
}  // namespace activeset::io::tests
