// Rows, bounds and objective of a file, and where they land in the dense form.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>

#include "io/read.hpp"

namespace activeset::io::tests {
namespace {

constexpr double Infinity = std::numeric_limits<double>::infinity();

/// Rows of the types L, G, E, L, E between the columns x and y, a second objective, and sides.
std::string fiveRows(const std::string& sections) {
    return "NAME rows FREE\nROWS\n N cost\n L l1\n G g1\n N other\n E e1\n L l2\n E e2\n"
           "COLUMNS\n x cost 5 l1 1\n x g1 2 e1 3\n x l2 4\n y l1 -1 g1 0.5\n y e2 7 other 2\n" +
           sections + "ENDATA\n";
}

/// "NAME: row of the matrix | side"
std::string rowText(const std::string& name,
                    std::size_t row,
                    const Numbers& matrix,
                    const Numbers& rhs) {
    std::ostringstream text;
    text << name << ':';
    for (std::size_t k = row; k < matrix.size(); k += rhs.size()) {
        text << ' ' << matrix[k] + 0.0;  // not -0
    }
    text << " | " << rhs[row] + 0.0 << "\n";
    return text.str();
}

std::string rowsOf(const Problem& problem) {
    std::string text;
    for (std::size_t i = 0; i < problem.mIneq; ++i) {
        const auto& [name, upper] = problem.inequalities[i];
        text += rowText(name + (upper ? " upper" : " lower"), i, problem.A, problem.b);
    }
    for (std::size_t i = 0; i < problem.mEq; ++i) {
        text += rowText(problem.equalityNames[i], i, problem.Aeq, problem.beq);
    }
    return text;
}

/// "LINE: text" for each note.
std::string notesOf(const Problem& problem) {
    std::string text;
    for (const Note& note : problem.notes) {
        text += std::to_string(note.line) + ": " + note.text;
    }
    return text;
}

TEST(Rows, OfEveryTypeWithAndWithoutRange) {
    const std::string sides = "RHS\n b l1 10 g1 20\n b e1 30 l2 40\n b e2 50 other 7\n";
    // l1 in [10 - 4, 10], g1 in [20, 20 + 3], e1 in [30, 30 + 2], e2 in [50 - 6, 50].
    const std::string ranges = "RANGES\n R l1 4 g1 -3\n R e1 2 e2 -6\n";
    const std::string ranged =
        "l1 upper: 1 -1 | 10\nl1 lower: -1 1 | -6\ng1 upper: 2 0.5 | 23\ng1 lower: -2 -0.5 | -20\n"
        "e1 upper: 3 0 | 32\ne1 lower: -3 0 | -30\nl2 upper: 4 0 | 40\n"
        "e2 upper: 0 7 | 50\ne2 lower: 0 -7 | -44\n";
    const std::vector<std::pair<std::string, std::string>> cases{
        {sides,
         "l1 upper: 1 -1 | 10\ng1 lower: -2 -0.5 | -20\nl2 upper: 4 0 | 40\n"
         "e1: 3 0 | 30\ne2: 0 7 | 50\n"},
        {sides + ranges, ranged},
        {ranges + sides, ranged},
        {"RHS\n b l1 10 e1 30\nRANGES\n R l1 0 e1 0\n",
         "g1 lower: -2 -0.5 | 0\nl2 upper: 4 0 | 0\nl1: 1 -1 | 10\ne1: 3 0 | 30\ne2: 0 7 | 0\n"},
        {"RHS\n b l1 inf g1 -1e20\n b e1 30\nRANGES\n R e1 1e30\n",
         "e1 lower: -3 0 | -30\nl2 upper: 4 0 | 0\ne2: 0 7 | 0\n"}};
    for (const auto& [sections, rows] : cases) {
        const Problem problem = read(fiveRows(sections));
        EXPECT_EQ(rowsOf(problem), rows);
        EXPECT_EQ(problem.c, (Numbers{5, 0}));
        EXPECT_EQ(problem.constant, 0.0);
        EXPECT_EQ(notesOf(problem), "6: row 'other' is a second objective and is ignored");
    }
}

struct BoundCase {
    std::string cards;  ///< from line 9 on
    double lower;
    double upper;
    std::string note = {};
};

TEST(Bounds, OfEveryTypeAloneAndTogether) {
    const std::vector<BoundCase> cases{
        {"", 0, Infinity},
        {" UP B x 3\n", 0, 3},
        {" UP B x 0\n", 0, 0},
        {" UP B x -3\n", -Infinity, -3,
         "9: column 'x': the negative upper bound removes the lower bound of 0"},
        {" FX B x -4\n", -4, -4},
        {" FR B x\n", -Infinity, Infinity},
        {" MI B x\n", -Infinity, Infinity},
        {" PL B x\n", 0, Infinity},
        {" BV B x\n", 0, 1, "9: column 'x' is binary; it may take every value from 0 to 1 here"},
        {" UP B x 3\n LO B x 3\n", 3, 3},
        {" MI B x\n UP B x -3\n", -Infinity, -3},
        {" UP B x -3\n LO B x -5\n", -5, -3},
        {" PL B x\n LO B x 1\n", 1, Infinity},
        {" LO B x -1e20\n UP B x inf\n", -Infinity, Infinity},
        {" UP B x 99999999999999983616\n", 0, std::nextafter(1e20, 0.0)},
        {" FR x 0\n", -Infinity, Infinity},  // without the name of the vector
        {" FX x 2\n", 2, 2},
    };
    for (const BoundCase& example : cases) {
        const Problem problem = read(smallFile("BOUNDS\n" + example.cards));
        EXPECT_EQ(problem.lb, (Numbers{example.lower, 0})) << example.cards;
        EXPECT_EQ(problem.ub, (Numbers{example.upper, Infinity})) << example.cards;
        EXPECT_EQ(notesOf(problem), example.note) << example.cards;
    }
}

TEST(Objective, OneTriangleInEitherOrderOrTheFullMatrixGivesBoth) {
    // Column by column; (y, x) stands above the diagonal, (y, z) below it.
    const Numbers expected{8, 2, 0, 2, 10, -3, 0, -3, 0};
    for (const char* const section :
         {"QUADOBJ\n x x 8\n y x 2\n y y 10\n y z -3\n", "QUADOBJ\n z y -3\n y y 10\n x y 2 x 8\n",
          "QMATRIX\n x x 8\n x y 2\n y x 2\n y y 10\n y z -3\n z y -3\n z x 0\n"}) {
        EXPECT_EQ(read("ROWS\n N o\nCOLUMNS\n x o 0\n y o -1\n z o 0\n" + std::string(section) +
                       "ENDATA\n")
                      .H,
                  expected);
    }
}

TEST(Objective, TheConstantIsMinusTheRightHandSideAndAMaximumIsNegated) {
    for (const std::string sense :
         {"OBJSENSE\n MAX\n", "OBJSENSE MAXIMIZE\n", "OBJSENSE\n MIN\n", ""}) {
        const Problem problem = read(sense +
                                     "ROWS\n N o\n L r\nCOLUMNS\n x o 3 r 1\n"
                                     "RHS\n b o 5 r 2\nQUADOBJ\n x x -4\nENDATA\n");
        const double sign = sense.find("MAX") != std::string::npos ? -1.0 : 1.0;
        EXPECT_EQ(problem.maximise, sign < 0);
        EXPECT_EQ(problem.c, Numbers{sign * 3});
        EXPECT_EQ(problem.constant, sign * -5);
        EXPECT_EQ(problem.H, Numbers{sign * -4});
        EXPECT_EQ(rowsOf(problem), "r upper: 1 | 2\n");
    }
}

TEST(Numbers, AreRoundedCorrectlyWhereverTheyStand) {
    // Most of these come out one or more units in the last place off when the digits are summed
    // up and scaled by a power of ten; the smallest would be dropped from a sparse matrix.
    const Problem problem = read(
        "ROWS\n N o\n L r\n E s\n"
        "COLUMNS\n x o 0.3 r -.100000e+01\n x s 0.48485306470651324\n y r 5e-324\n"
        "RHS\n b o 0.100000e+03 r 123456789.123456789\n b s +1.7E-5\n"
        "BOUNDS\n UP B x 0.7\n LO B y -1e-300\n"
        "QUADOBJ\n x x .200000e+01\nENDATA\n");

    EXPECT_EQ(problem.c, (Numbers{0.3, 0}));
    EXPECT_EQ(problem.A, (Numbers{-1.0, 5e-324}));
    EXPECT_EQ(problem.Aeq, (Numbers{0.48485306470651324, 0}));
    EXPECT_EQ(problem.constant, -100.0);
    EXPECT_EQ(problem.b, Numbers{123456789.123456789});
    EXPECT_EQ(problem.beq, Numbers{1.7e-5});
    EXPECT_EQ(problem.ub, (Numbers{0.7, Infinity}));
    EXPECT_EQ(problem.lb, (Numbers{0, -1e-300}));
    EXPECT_EQ(problem.H, (Numbers{2, 0, 0, 0}));
}

}  // namespace
}  // namespace activeset::io::tests
