// Readers read back what writers write, and errors in JSON name their place.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "io/dense_form.hpp"
#include "io/read.hpp"
#include "io/writer.hpp"

namespace activeset::io::tests {
namespace {

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

Model soft() {
    Model model = every();
    model.rowPenalty = {.lowerLinear = {Inf, 0, 1e30, 3}, .lowerQuadratic = {0, 2, 0, 0.1}};
    model.boundPenalty = {.upperLinear = {Inf, 4, Inf}};
    return model;
}

TEST(JsonFormat, KeepsPenaltiesAndTextFormatsDropNone) {
    const Model model = soft();
    const Model back = readModelText(jsonText(model), "t.json", Format::Json);
    for (const PenaltyPart& part : PenaltyParts) {
        EXPECT_EQ(back.rowPenalty.*part.values, model.rowPenalty.*part.values) << part.name;
        EXPECT_EQ(back.boundPenalty.*part.values, model.boundPenalty.*part.values) << part.name;
    }
    for (const Format format : {Format::Mps, Format::Lp}) {
        EXPECT_EQ(errorFrom([&] { static_cast<void>(modelText(model, format, "t")); }),
                  "t: the format has no penalties, but row 'low' is soft; JSON and NPZ have them");
    }
    Model bounds = soft();
    bounds.rowPenalty = {.lowerLinear = {1, Inf, Inf, Inf}};  // a penalty for an absent side
    EXPECT_THAT(errorFrom([&] { static_cast<void>(modelText(bounds, Format::Lp, "t")); }),
                ::testing::HasSubstr("variable 'y' is soft"));
    bounds.boundPenalty = {.upperQuadratic = {0, 0, 0}};
    EXPECT_NO_THROW(static_cast<void>(modelText(bounds, Format::Lp)));
}

TEST(JsonFormat, ErrorsNameLineColumnAndWhatWasExpected) {
    const std::string head = "{\"schema\": \"activeset-problem/1\",\n ";
    const std::string softHead = "{\"schema\": \"activeset-problem/2\",\n ";
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
        {head + "\"c\": [1],\n \"bound_penalty\": {}}",
         "t.json:3:19: a penalty needs the schema \"activeset-problem/2\""},
        {softHead + "\"c\": [1], \"bound_penalty\": {\"linear\": [1]}}",
         "t.json:2:30: expected a part that docs/files.md lists, found 'linear'"},
        {softHead + "\"c\": [1], \"bound_penalty\": {\"upper_linear\": [1, 2]}}",
         "t.json:2:29: upper_linear has the size 2, expected 1"},
        {softHead + "\"c\": [1], \"bound_penalty\": {\"upper_linear\": []}}",
         "t.json:2:29: upper_linear has the size 0, expected 1"},
        {softHead + "\"c\": [1], \"bound_penalty\": {\"upper_linear\": [-1]}}",
         "t.json:2:47: expected a penalty from 0 up"},
        {softHead + "\"c\": [1], \"bound_penalty\": {\"upper_linear\": [1]}}",
         "t.json:2:29: upper_linear: expected upper beside it"},
        {softHead + "\"c\": [1], \"bound_penalty\": {\"upper_quadratic\": [\"inf\"]}}",
         "expected a number"},
        {head + "\"c\": [1],\n \"c\": [2]}", "t.json:3:7: a second member 'c'"},
        {softHead + "\"bound_penalty\": {\"upper_linear\": [1], \"upper_linear\": [1]}}",
         "t.json:2:41: a second part 'upper_linear'"},
        {std::string("\x01\0", 2), "t.json:1:1: expected {, found '\\x01\\x00'"},
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
