// What a writer writes its reader reads back, and JSON says where it is wrong.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "io/read.hpp"
#include "io/writer.hpp"

namespace activeset::io::tests {
namespace {

constexpr double Inf = std::numeric_limits<double>::infinity();

Model every() {
    return {.name = "every",
            .maximise = true,
            .H = {2, 0.1, 0, 0.1, 3, 0, 0, 0, 0},
            .c = {-1, 0, 1e-300},
            .constant = 7,
            .A = {1, 2, 0, 1.0 / 3, 0, -1, 4, 0, 0, 1, 0, 0},
            .rowLower = {-Inf, 1, 2, 0},
            .rowUpper = {4, Inf, 2, 8},
            .lower = {-2, -Inf, 5},
            .upper = {Inf, 3, 5},
            .variables = {"x", "y", "z"},
            .rows = {"up", "low", "both", "range"}};
}

class Writers : public ::testing::TestWithParam<Format> {};

TEST_P(Writers, AreReadBackAsTheyWere) {
    const Model model = every();
    const Model back = readModelText(modelText(model, GetParam()), "t", GetParam());
    EXPECT_EQ(back.maximise, model.maximise);
    EXPECT_EQ(back.H, model.H);
    EXPECT_EQ(back.c, model.c);
    EXPECT_EQ(back.constant, model.constant);
    EXPECT_EQ(back.A, model.A);
    EXPECT_EQ(back.rowLower, model.rowLower);
    EXPECT_EQ(back.rowUpper, model.rowUpper);
    EXPECT_EQ(back.lower, model.lower);
    EXPECT_EQ(back.upper, model.upper);
    EXPECT_EQ(back.variables, model.variables);
    EXPECT_EQ(back.rows, model.rows);
}

TEST_P(Writers, RenameWhatTheFormatCannotHold) {
    Model model = every();
    model.variables = {"a b", "free", "\"\\\x01"};
    const Model back = readModelText(modelText(model, GetParam()), "t", GetParam());
    EXPECT_EQ(back.variables, GetParam() == Format::Json
                                  ? model.variables
                                  : (std::vector<std::string>{"x1", "x2", "x3"}));
    EXPECT_EQ(back.c, model.c);
}

INSTANTIATE_TEST_SUITE_P(Formats,
                         Writers,
                         ::testing::Values(Format::Mps, Format::Lp, Format::Json));

TEST(JsonFormat, ErrorsNameLineColumnAndWhatWasExpected) {
    const std::string head = "{\"schema\": \"activeset-problem/1\",\n ";
    const std::vector<std::pair<std::string, const char*>> cases{
        {"[1]", "t.json:1:1: expected {, found '[1'"},
        {"{}", "t.json: expected \"schema\""},
        {head + "\"c\": [1, \"x\"]}", "t.json:2:11: expected a number, found '\"x\"'"},
        {head + "\"c\": [1 2]}", "t.json:2:10: expected , or ], found '2'"},
        {head + "\"cost\": [1]}",
         "t.json:2:10: expected a member that docs/files.md lists, found 'cost'"},
        {head + "\"H\": [[1, 2], [3]]}", "t.json:2:16: expected 2 entries, found 1"},
        {head + "\"H\": [[1, 2], [3, 4]]}", "t.json:2:7: H is not symmetric"},
        {head + "\"c\": [1], \"upper\": [\"much\"]}", "expected a number, \"inf\" or \"-inf\""},
        {head + "\"c\": [1], \"upper\": [1, 2]}", "upper has the size 2, expected 1"},
        {head + "\"c\": [1], \"lower\": [2], \"upper\": [1]}", "a lower side that is not above"},
        {head + "\"name\": \"\\q\"}", "an escape that JSON does not have"},
        {head + "\"c\": [1e999]}", "outside the range of a double"}};
    for (const auto& [text, part] : cases) {
        EXPECT_THAT(
            errorFrom([&text = text] { return readModelText(text, "t.json", Format::Automatic); }),
            ::testing::HasSubstr(part));
    }
}

}  // namespace
}  // namespace activeset::io::tests
