// Whole runs: what is printed for each outcome, as text and as JSON.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <nlohmann/json.hpp>

#include "cli/run_cli.hpp"
#include "support/folders.hpp"
#include "support/shared.hpp"

namespace activeset::cli::tests {
namespace {

using nlohmann::json;

const std::filesystem::path Examples = test::examplesFolder() + "/problems";

/// min ½(x − 4)² + ½(y − 1)² subject to x ≤ 2 from (0, 0). Half a step to (4, 1) reaches the row;
/// the next step changes only y. All numbers are exact.
const char* const TwoSteps =
    "NAME two steps FREE\n"
    "ROWS\n N cost\n L wall\n"
    "COLUMNS\n x cost -4 wall 1\n y cost -1\n"
    "RHS\n b cost -8.5 wall 2\n"
    "QUADOBJ\n x x 1\n y y 1\n"
    "ENDATA\n";

/// x = 1 and x = 2, or x ≤ 1 and x ≥ 2: it depends on the types of the rows r and s.
const std::string TwoSides = "COLUMNS\n x o 1 r 1\n x s 1\nRHS\n b r 1 s 2\nENDATA\n";
const char* const Saddle =
    "ROWS\n N o\nCOLUMNS\n x o 0\nBOUNDS\n FR b x\nQUADOBJ\n x x -2\nENDATA\n";

class Solving : public CommandLine {
protected:
    int expectOptima(const std::filesystem::path& folder,
                     const std::string& table,
                     double accuracy) const;
};

TEST_F(Solving, PrintsTheTableAndTheSummary) {
    write("p.qps", TwoSteps);
    const Outcome outcome = run("solve --strict p.qps --solution");

    EXPECT_EQ(outcome.out, contents(test::goldenFolder() + "/cli_two_steps.txt"));
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
}

/// Files with one outcome each.
class Outcomes : public CommandLine {
protected:
    /// Arguments, a line of the output, the exit status.
    struct Case {
        std::string arguments;
        const char* line;
        int status;
    };

    void SetUp() override {
        CommandLine::SetUp();
        write("two", TwoSteps);
        // min ½x² with x ≥ 1. Then x ≤ 1 and x ≥ 2, which is infeasible, and the same as
        // equalities.
        write("away", "ROWS\n N o\nCOLUMNS\n x o 0\nBOUNDS\n LO b x 1\nQUADOBJ\n x x 1\nENDATA\n");
        write("empty", "NAME t FREE\nROWS\n N o\n L r\n G s\n" + TwoSides);
        write("equal", "NAME t FREE\nROWS\n N o\n E r\n E s\n" + TwoSides);
        // max 4x − x² + 1 has the value 5 at x = 2.
        write("maximum",
              "OBJSENSE MAX\nROWS\n N o\nCOLUMNS\n x o 4\nRHS\n b o -1\nQUADOBJ\n x x -2\n"
              "ENDATA\n");
        // max x without an upper bound. The working set is empty, so the strict core takes one step
        // and reports an optimum, but the gradient is as long as before.
        write("unbounded", "ROWS\n N o\nCOLUMNS\n x o -1\nENDATA\n");
        write("saddle", Saddle);
        // The objective is 6 + 2 at x = 2, y = 1. One unit more of r brings 3, of e 2.
        write("prices",
              "OBJSENSE MAX\nROWS\n N o\n L r\n E e\nCOLUMNS\n x o 3 r 1\n y o 2 e 1\n"
              "RHS\n b r 2 e 1\nENDATA\n");
    }

    void expect(const std::vector<Case>& cases) const {
        for (const Case& example : cases) {
            const Outcome outcome = run("solve " + example.arguments);
            EXPECT_THAT(outcome.out, ::testing::HasSubstr(std::string("\n") + example.line + "\n"));
            EXPECT_EQ(outcome.status, example.status) << example.line;
            const bool isWithout = (example.status >= 2 && example.status <= 4) ||
                                   outcome.out.find("before a feasible") != std::string::npos;
            EXPECT_EQ(isWithout, outcome.out.find("\nobjective ") == std::string::npos);
        }
    }
};

TEST_F(Outcomes, OfTheFrontEndAreReportedWithTheirProofs) {
    const std::string longer = "'" + (Examples / "hs118.qps").string() + "'";
    expect({{"- < two", "outcome          optimal", 0},
            {longer + " --max-iter 9", "outcome          iteration limit", 1},
            {longer + " --time-limit 0", "outcome          time limit", 1},
            {"away", "objective        0.5", 0},
            {"empty", "outcome          infeasible, proved by multipliers", 2},
            {"equal", "outcome          infeasible, proved by multipliers", 2},
            {"unbounded", "outcome          unbounded, proved by a ray", 3},
            {"saddle", "outcome          not convex, proved by a direction with curvature -2.0e+00",
             4},
            {"empty --solution",
             "contradiction: times these the constraints add up to 0 ≤ -1\n"
             "multipliers other than 0\n  r: x ≤ 1  1\n  s: x ≥ 2  -1",
             2},
            {"equal --solution", "  r: x = 1  1\n  s: x = 2  -1", 2},
            {"unbounded --solution",
             "direction in which the objective falls without end, entries other than 0\n  x  1", 3},
            {"saddle --solution",
             "direction in which the problem is not convex, entries other than 0\n  x  1", 4},
            {"maximum", "objective        5, a maximum", 0},
            {"prices --solution",
             "  x  2\n  y  1\nmultipliers other than 0\n  r: x ≤ 2  3\n  e: y = 1  2", 0}});
}

TEST_F(Outcomes, OfTheStrictCoreAreReportedAndItsOptionsPassedOn) {
    expect({{"two --display final --strict", " fstar: -6.5 Active: 1 Iterations: 3", 0},
            {"two --max-iter 1 --strict", "outcome          iteration limit reached (0)", 1},
            {"two --tol-x 10 --strict", "objective        8.5", 0},  // already optimal
            {"away --strict", "objective        0.5", 0},
            {"away --tol-con 1 --strict", "objective        0", 0},
            {"empty --strict", "outcome          infeasible (-2)", 2},
            {"empty --strict", "primal residual  5.0e-01", 2},  // halfway between 1 and 2
            {"empty --max-iter 1 --strict",
             "outcome          iteration limit reached before a feasible point was found (-2)", 1},
            {"equal --strict",
             "outcome          equality constraints dependent and inconsistent (-3)", 2},
            {"unbounded --strict", "outcome          optimal (1)", 5},
            {"unbounded --strict", "dual residual    1.0e+00  (does not support the outcome)", 5},
            {"maximum --strict", "objective        5, a maximum", 0}});
}

TEST_F(Solving, TellsHowFarAContradictionReaches) {
    // In doubles 0.1 differs from a third of 0.3 by 2⁻⁵⁵, and x has no bounds.
    write("rounded",
          "ROWS\n N o\n L r\n G s\nCOLUMNS\n x r 0.3 s 0.1\nRHS\n b r 3 s 2\nBOUNDS\n FR b x\n"
          "ENDATA\n");
    EXPECT_THAT(run("solve rounded").out, ::testing::HasSubstr(" up to a sum of |x| of "));
    const json radius = json::parse(run("solve --json rounded").out).at("farkas").at("radius");
    EXPECT_GT(radius.get<double>(), 1e12);
    EXPECT_LT(radius.get<double>(), 1e18);
}

TEST_F(Solving, SaysNothingThatHasNoMeaning) {
    write("empty", "NAME t FREE\nROWS\n N o\n L r\n G s\n" + TwoSides);
    write("zero.lp", "min 0 x\nst\n r: - x - y <= 0\nend\n");
    const std::string text = run("solve empty").out;
    EXPECT_THAT(text, ::testing::Not(::testing::ContainsRegex("objective|active  |gap|solved")));
    const Outcome zero = run("solve zero.lp");
    EXPECT_THAT(zero.out,
                ::testing::Not(::testing::ContainsRegex("-0\n|iterations +0|e-3[0-9][0-9]")));
    EXPECT_THAT(run("solve '" + (Examples / "hs76.qps").string() + "'").out,
                ::testing::ContainsRegex("solved +from a predicted working set [(][0-9]+ round"));
}

TEST_F(Solving, JsonHasTheSolutionBesideTheNames) {
    std::istringstream out(
        run("solve --json '" + (Examples / "hs76.qps").string() + "' absent.qps").out);
    json result;
    json unreadable;
    out >> result >> unreadable;

    EXPECT_EQ(result.at("schema"), "activeset-result/1");
    EXPECT_TRUE(result.at("proved").get<bool>());
    EXPECT_TRUE(result.at("core_exit_code").is_null());  // the prediction was the solution
    const std::string cold =
        run("solve --json --start cold '" + (Examples / "hs76.qps").string() + "'").out;
    EXPECT_EQ(json::parse(cold).at("core_exit_code"), 1);
    EXPECT_EQ(result.at("working_set").at("rows_at_upper"), json::array({0}));
    EXPECT_EQ(result.at("working_set").at("at_lower"), json::array({2}));
    EXPECT_EQ(result.at("names").at(1), "X2");
    EXPECT_NEAR(result.at("x").at(1).get<double>(), 23.0 / 11, 1e-14);
    // The gradient of X1 is 2·3/11 − 1 + y = 0. The lower bound of X3 balances the rest.
    EXPECT_NEAR(result.at("y").at(0).get<double>(), 5.0 / 11, 1e-14);
    EXPECT_EQ(result.at("y").size(), 3U);
    EXPECT_NEAR(result.at("z").at(2).get<double>(), -19.0 / 11, 1e-14);
    EXPECT_EQ(unreadable.at("error"), "absent.qps: cannot be opened: No such file or directory");
}

TEST_F(Solving, JsonHasTheProofThatThereIsNoOptimum) {
    write("equal", "NAME t FREE\nROWS\n N o\n E r\n E s\n" + TwoSides);
    write("saddle", Saddle);
    std::istringstream out(run("solve --json equal saddle").out);
    json equal;
    json saddle;
    out >> equal >> saddle;

    const json& farkas = equal.at("farkas");
    EXPECT_EQ(farkas.at("value"), -1.0);
    EXPECT_LE(farkas.at("residual"), 1e-15);
    EXPECT_EQ(farkas.at("y"), json({1.0, -1.0}));
    EXPECT_EQ(equal.at("conflict").at("words"), json({"s: x = 2", "r: x = 1"}));
    EXPECT_FALSE(equal.contains("objective"));
    EXPECT_EQ(saddle.at("direction"), json::parse(R"({"curvature": -2.0, "entries": [1.0]})"));
    EXPECT_TRUE(equal.at("proved").get<bool>() && saddle.at("proved").get<bool>());
    const json strict = json::parse(run("solve --strict --json --display off equal").out);
    EXPECT_EQ(strict.at("core_exit_code"), -3);
    EXPECT_EQ(strict.at("schema"), "activeset-strict-result/1");
}

/// The optima of a table with a heading, by the name of the file without its extension.
std::map<std::string, double> optimaIn(const std::filesystem::path& table) {
    std::map<std::string, double> optima;
    std::ifstream lines(table);
    std::string line;
    std::getline(lines, line);
    while (std::getline(lines, line)) {
        const std::size_t comma = line.find(',');
        const std::filesystem::path file = line.substr(0, comma);
        optima[file.stem()] = std::stod(line.substr(comma + 1));
    }
    return optima;
}

/// Compares the optimum of each file of a folder that is solved in time. Returns their number.
int Solving::expectOptima(const std::filesystem::path& folder,
                          const std::string& table,
                          double accuracy) const {
    const std::map<std::string, double> optima = optimaIn(folder / table);
    std::istringstream out(
        run("solve --json --time-limit 30 '" + folder.string() + "'/*.[qQ][pP][sS]").out);
    int solved = 0;
    for (std::string line; std::getline(out, line);) {
        const json result = json::parse(line);
        const std::string name = std::filesystem::path(result.at("file")).stem();
        if (result.at("outcome") != "optimal" || !optima.contains(name)) {
            continue;
        }
        ++solved;
        // The optimum of HS268 is 0; the value in the table is only within 2e-6 of it.
        const double scale = name == "HS268" ? 1e2 : 1 + std::abs(optima.at(name));
        EXPECT_NEAR(result.at("objective").get<double>(), optima.at(name), accuracy * scale)
            << name;
    }
    return solved;
}

TEST_F(Solving, ReachesTheKnownOptimumOfEveryExample) {
    EXPECT_EQ(expectOptima(Examples, "optima.csv", 1e-12), 9);
}

using SlowSolving = Solving;

// A number, side or sign that is read wrongly moves the optimum.
TEST_F(SlowSolving, ReachesThePublishedOptima) {
    const std::filesystem::path folder = test::shared("problems/maros");
    if (folder.empty()) {
        GTEST_SKIP() << test::NothingShared;
    }
    EXPECT_GT(expectOptima(folder, "optimal_values.csv", 1e-7), 35);
}

}  // namespace
}  // namespace activeset::cli::tests
