// Bounds of every type, alone and together.
#include <gtest/gtest.h>

#include <limits>

#include "io/read.hpp"

namespace activeset::io::tests {
namespace {

constexpr double Infinity = std::numeric_limits<double>::infinity();

struct BoundCase {
    const char* cards;
    double lower;
    double upper;
};

TEST(Bounds, OfEveryTypeAloneAndTogether) {
    const std::vector<BoundCase> cases{
        {"", 0, Infinity},
        {" LO B x 2\n", 2, Infinity},
        {" LO B x -2\n", -2, Infinity},
        {" UP B x 3\n", 0, 3},
        {" UP B x 0\n", 0, 0},
        {" FX B x -4\n", -4, -4},
        {" FR B x\n", -Infinity, Infinity},
        {" MI B x\n", -Infinity, Infinity},
        {" PL B x\n", 0, Infinity},
        {" BV B x\n", 0, 1},
        {" LO B x -2\n UP B x 3\n", -2, 3},
        {" UP B x 3\n LO B x 3\n", 3, 3},
        {" MI B x\n UP B x -3\n", -Infinity, -3},
        {" UP B x -3\n MI B x\n", -Infinity, -3},
        {" UP B x -3\n LO B x -5\n", -5, -3},
        {" LO B x 1\n PL B x\n", 1, Infinity},
        {" PL B x\n LO B x 1\n", 1, Infinity},
        {" PL B x\n MI B x\n", -Infinity, Infinity},
        {" LO B x -1e20\n UP B x inf\n", -Infinity, Infinity},
        {" LO B x -Infinity\n UP B x 1e25\n", -Infinity, Infinity},
        {" UP B x 5e-324\n LO B x -1e-300\n", -1e-300, 5e-324},
    };
    for (const BoundCase& example : cases) {
        const Problem problem = read(smallFile("BOUNDS\n" + std::string(example.cards)));
        EXPECT_EQ(problem.lb, (Numbers{example.lower, 0})) << example.cards;
        EXPECT_EQ(problem.ub, (Numbers{example.upper, Infinity})) << example.cards;
        EXPECT_TRUE(problem.notes.empty() || std::string(" BV B x\n") == example.cards);
    }
}

TEST(Bounds, ANegativeUpperBoundAloneRemovesTheLowerOneWithANote) {
    const Problem problem = read(smallFile("BOUNDS\n UP B y 1\n UP B x -3\n"));

    EXPECT_EQ(problem.lb, (Numbers{-Infinity, 0}));
    EXPECT_EQ(problem.ub, (Numbers{-3, 1}));
    ASSERT_EQ(problem.notes.size(), 1U);
    EXPECT_EQ(problem.notes[0].line, 10U);
    EXPECT_EQ(problem.notes[0].text,
              "column 'x' has a negative upper bound and no lower one; it is unbounded below");
}

TEST(Bounds, BinaryColumnsAreRelaxedWithANote) {
    const Problem problem = read(smallFile("BOUNDS\n BV B y\n"));

    ASSERT_EQ(problem.notes.size(), 1U);
    EXPECT_EQ(problem.notes[0].line, 9U);
    EXPECT_EQ(problem.notes[0].text,
              "column 'y' is binary; it may take every value from 0 to 1 here");
}

TEST(Bounds, MayLeaveOutTheNameOfTheVector) {
    const Problem problem = read(smallFile("BOUNDS\n FR x\n FX y 2\n"));

    EXPECT_EQ(problem.lb, (Numbers{-Infinity, 2}));
    EXPECT_EQ(problem.ub, (Numbers{Infinity, 2}));
}

TEST(Bounds, ATypeWithoutNumberMayBeFollowedByOne) {
    // Two words behind FR are a vector and a column, or a column and a number; and a column may
    // have a number for its name.
    EXPECT_EQ(read(smallFile("BOUNDS\n FR B x 7\n FR y 0\n")).lb, (Numbers{-Infinity, -Infinity}));
    EXPECT_EQ(read("ROWS\n N o\nCOLUMNS\n 1 o 1\n 2 o 1\nBOUNDS\n FR B 2\nENDATA\n").lb,
              (Numbers{0, -Infinity}));
}

struct BoundType {
    const char* card;
    bool below;
    bool above;
};

TEST(Bounds, OnTheSameSideTwiceAreAConflictOfTwoLines) {
    const std::vector<BoundType> types{{"LO B x 1", true, false}, {"UP B x 2", false, true},
                                       {"FX B x 1", true, true},  {"FR B x", true, true},
                                       {"MI B x", true, false},   {"PL B x", false, true},
                                       {"BV B x", true, true}};
    for (const BoundType& first : types) {
        for (const BoundType& second : types) {
            const std::string text =
                smallFile(std::string("BOUNDS\n ") + first.card + "\n " + second.card + "\n");
            const bool conflict = (first.below && second.below) || (first.above && second.above);
            const std::string expected = "t.qps:10: bound " + std::string(second.card, 2) +
                                         " for column 'x', which line 9 has bounded already";
            EXPECT_EQ(conflict ? errorOf(text) : std::to_string(read(text).n),
                      conflict ? expected : "2");
        }
    }
}

}  // namespace
}  // namespace activeset::io::tests
