// How rows, bounds and objective of a file become a model.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>

#include "io/read.hpp"

namespace activeset::io::tests {
namespace {

constexpr double Infinity = std::numeric_limits<double>::infinity();

/// Columns x and y with rows of the types L, G, E, L, E, a second objective and right-hand sides.
std::string fiveRows(const std::string& sections) {
    return "NAME rows FREE\nROWS\n N cost\n L l1\n G g1\n N other\n E e1\n L l2\n E e2\n"
           "COLUMNS\n x cost 5 l1 1\n x g1 2 e1 3\n x l2 4\n y l1 -1 g1 0.5\n y e2 7 other 2\n" +
           sections + "ENDATA\n";
}

/// One line per row: "NAME: lower side
///  entries of the row
///  upper side".
std::string rowsOf(const Model& model) {
    std::ostringstream text;
    for (std::size_t i = 0; i < model.m(); ++i) {
        text << model.rows[i] << ": " << model.rowLower[i] << " |";
        for (std::size_t j = 0; j < model.n(); ++j) {
            text << ' ' << model.A[j * model.m() + i];
        }
        text << " | " << model.rowUpper[i] << "\n";
    }
    return text.str();
}

/// One line per note: "LINE: text".
std::string notesOf(const Model& model) {
    std::string text;
    for (const Note& note : model.notes) {
        text += std::to_string(note.line) + ": " + note.text;
    }
    return text;
}

TEST(Rows, OfEveryTypeWithAndWithoutRange) {
    const std::string sides = "RHS\n b l1 10 g1 20\n b e1 30 l2 40\n b e2 50 other 7\n";
    // l1 in [10 - 4, 10], g1 in [20, 20 + 3], e1 in [30, 30 + 2], e2 in [50 - 6, 50].
    const std::string ranges = "RANGES\n R l1 4 g1 -3\n R e1 2 e2 -6\n";
    const std::string ranged =
        "l1: 6 | 1 -1 | 10\ng1: 20 | 2 0.5 | 23\ne1: 30 | 3 0 | 32\nl2: -inf | 4 0 | 40\n"
        "e2: 44 | 0 7 | 50\n";
    const std::vector<std::pair<std::string, std::string>> cases{
        {sides,
         "l1: -inf | 1 -1 | 10\ng1: 20 | 2 0.5 | inf\ne1: 30 | 3 0 | 30\nl2: -inf | 4 0 | 40\n"
         "e2: 50 | 0 7 | 50\n"},
        {sides + ranges, ranged},
        {ranges + sides, ranged},
        {"RHS\n b l1 10 e1 30\nRANGES\n R l1 0 e1 0\n",
         "l1: 10 | 1 -1 | 10\ng1: 0 | 2 0.5 | inf\ne1: 30 | 3 0 | 30\nl2: -inf | 4 0 | 0\n"
         "e2: 0 | 0 7 | 0\n"},
        {"RHS\n b l1 inf g1 -1e20\n b e1 30\nRANGES\n R e1 1e30\n",
         "l1: -inf | 1 -1 | inf\ng1: -inf | 2 0.5 | inf\ne1: 30 | 3 0 | inf\nl2: -inf | 4 0 | 0\n"
         "e2: 0 | 0 7 | 0\n"}};
    for (const auto& [sections, rows] : cases) {
        const Model model = read(fiveRows(sections));
        EXPECT_EQ(rowsOf(model), rows);
        EXPECT_EQ(model.c, (Numbers{5, 0}));
        EXPECT_EQ(model.constant, 0.0);
        EXPECT_EQ(notesOf(model), "6: row 'other' is a second objective and is ignored");
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
        {" FR x 0\n", -Infinity, Infinity},  // without the name of a bound vector
        {" FX x 2\n", 2, 2},
    };
    for (const BoundCase& example : cases) {
        const Model model = read(smallFile("BOUNDS\n" + example.cards));
        EXPECT_EQ(model.lower, (Numbers{example.lower, 0})) << example.cards;
        EXPECT_EQ(model.upper, (Numbers{example.upper, Infinity})) << example.cards;
        EXPECT_EQ(notesOf(model), example.note) << example.cards;
    }
}

TEST(Objective, OneTriangleInEitherOrderOrTheFullMatrixGivesBoth) {
    // Column by column. (y, x) stands above the diagonal, (y, z) below it.
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
        const Model model = read(sense +
                                 "ROWS\n N o\n L r\nCOLUMNS\n x o 3 r 1\n"
                                 "RHS\n b o 5 r 2\nQUADOBJ\n x x -4\nENDATA\n");
        const double sign = sense.find("MAX") != std::string::npos ? -1.0 : 1.0;
        EXPECT_EQ(model.maximise, sign < 0);
        EXPECT_EQ(model.c, Numbers{sign * 3});
        EXPECT_EQ(model.constant, sign * -5);
        EXPECT_EQ(model.H, Numbers{sign * -4});
        EXPECT_EQ(rowsOf(model), "r: -inf | 1 | 2\n");
    }
}

TEST(Numbers, AreRoundedCorrectlyWhereverTheyStand) {
    // Most of these are wrong by one or more units in the last place if the digits are summed and
    // scaled by a power of ten. A sparse matrix would drop the smallest.
    const Model model = read(
        "ROWS\n N o\n L r\n E s\n"
        "COLUMNS\n x o 0.3 r -.100000e+01\n x s 0.48485306470651324\n y r 5e-324\n"
        "RHS\n b o 0.100000e+03 r 123456789.123456789\n b s +1.7E-5\n"
        "BOUNDS\n UP B x 0.7\n LO B y -1e-300\n"
        "QUADOBJ\n x x .200000e+01\nENDATA\n");

    EXPECT_EQ(model.c, (Numbers{0.3, 0}));
    EXPECT_EQ(model.A, (Numbers{-1.0, 0.48485306470651324, 5e-324, 0}));
    EXPECT_EQ(model.constant, -100.0);
    EXPECT_EQ(model.rowUpper, (Numbers{123456789.123456789, 1.7e-5}));
    EXPECT_EQ(model.upper, (Numbers{0.7, Infinity}));
    EXPECT_EQ(model.lower, (Numbers{0, -1e-300}));
    EXPECT_EQ(model.H, (Numbers{2, 0, 0, 0}));
}

}  // namespace
}  // namespace activeset::io::tests
