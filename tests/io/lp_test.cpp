// LP files as people type them, and the errors of those that cannot be read.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "io/read.hpp"

namespace activeset::io::tests {
namespace {

Model lp(std::string_view text) {
    return readModelText(text, "t.lp", Format::Lp);
}

TEST(LpFormat, EverySectionMeansWhatItSays) {
    const Model model =
        lp("\\ a comment\n"
           "Minimize cost: 2 x - 3 y + 0.5x + 7 - [ 4 x^2 + 2 x * y ] / 2 + [ z^2 ]\n"
           "Subject To\n"
           " capacity: x + 2y + 1 <= 4\n"
           " 1 <= x - z\n <= 3\n"
           " e: y = -1e0\n"
           "Bounds\n"
           " x <= 9\n -2 <= y <= inf\n z free\n-inf <= w <= 1\nEnd\n whatever");
    EXPECT_EQ(model.variables, (std::vector<std::string>{"x", "y", "z", "w"}));
    EXPECT_EQ(model.rows, (std::vector<std::string>{"capacity", "R2", "e"}));
    EXPECT_EQ(model.c, (Numbers{2.5, -3, 0, 0}));
    EXPECT_EQ(model.constant, 7);
    EXPECT_EQ(model.H, (Numbers{-4, -1, 0, 0, -1, 0, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0}));
    EXPECT_EQ(model.A, (Numbers{1, 1, 0, 2, 0, 1, 0, -1, 0, 0, 0, 0}));
    EXPECT_EQ(model.rowLower, (Numbers{-Inf, 1, -1}));
    EXPECT_EQ(model.rowUpper, (Numbers{3, 3, -1}));
    EXPECT_EQ(model.lower, (Numbers{0, -2, -Inf, -Inf}));
    EXPECT_EQ(model.upper, (Numbers{9, Inf, Inf, 1}));
    ASSERT_EQ(model.notes.size(), 1U);  // perhaps a slip of the pen
    EXPECT_EQ(model.notes[0].line, 12U);
    EXPECT_EQ(model.notes[0].text, "variable 'w' is in no row and not in the objective");
    EXPECT_TRUE(lp("max 4 x\nst\nx <= 1\n").maximise);
    EXPECT_EQ(lp("max 4 x - [x^2]\nst\n x <= 1").H, Numbers{2});  // of the negated objective
}

TEST(LpFormat, ErrorsNameLineColumnAndWhatWasExpected) {
    const std::vector<std::pair<const char*, const char*>> cases{
        {"x + y", "t.lp:1:1: expected min or max, found 'x'"},
        {"min x +\n 3\nst\n x +", "t.lp:4:5: expected a number or a variable, found the end"},
        {"min x\nst\n c: x + y 3", "t.lp:3:11: expected <=, >= or =, found '3'"},
        {"min x\nst\n c: x <= y", "t.lp:3:10: expected a number, found 'y'"},
        {"min x\nst\n c: x <= 1\n c: x >= 0", "t.lp:4:2: a second row 'c'"},
        {"min x\nst\n x^2 <= 1", "t.lp:3:3: quadratic terms stand in brackets"},
        {"min x\nst\n [x^2] <= 1", "t.lp:3:2: quadratic rows cannot be solved for"},
        {"min [ x^3 ]", "t.lp:1:9: expected 2, found '3'"},
        {"min x\nst\nbounds\n x <= -1\n", "t.lp:4:2: variable 'x' has a lower bound above"},
        {"min x\nst\nranges\n R1 2\n", "t.lp:3:1: section 'ranges' cannot be read here"},
        {"min x\nst\ngeneral\n x\n", "t.lp:4:2: variable 'x' is to be an integer"},
        {"min x\nst\n x >= 1e999", "t.lp:3:7: '1e999' is outside the range"},
        {"min x = 3", "t.lp:1:7: expected +, - or a line that begins with st, found '='"},
        {"min 3", "t.lp: no variables"}};
    for (const auto& [text, part] : cases) {
        EXPECT_THAT(errorFrom([&text = text] { return lp(text); }), ::testing::HasSubstr(part));
    }
}

}  // namespace
}  // namespace activeset::io::tests
