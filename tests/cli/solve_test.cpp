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

/// min ½(x − 4)² + ½(y − 1)² subject to x ≤ 2 from (0, 0): half of the way to (4, 1) reaches the
/// row, then y goes on alone. Every number on the way is exact.
const char* const TwoSteps =
    "NAME two steps FREE\n"
    "ROWS\n N cost\n L wall\n"
    "COLUMNS\n x cost -4 wall 1\n y cost -1\n"
    "RHS\n b cost -8.5 wall 2\n"
    "QUADOBJ\n x x 1\n y y 1\n"
    "ENDATA\n";

/// x = 1 and x = 2, or at most and at least, behind rows r and s of some type.
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

TEST_F(Solving, PassesTheOptionsOnAndReportsEveryOutcome) {
    write("two", TwoSteps);
    // min ½x² with x ≥ 1; no x, which must be at most 1 and at least 2; the same with equalities.
    write("away", "ROWS\n N o\nCOLUMNS\n x o 0\nBOUNDS\n LO b x 1\nQUADOBJ\n x x 1\nENDATA\n");
    write("empty", "NAME t FREE\nROWS\n N o\n L r\n G s\n" + TwoSides);
    write("equal", "NAME t FREE\nROWS\n N o\n E r\n E s\n" + TwoSides);
    // max 4x − x² + 1: 5 at x = 2.
    write("maximum",
          "OBJSENSE MAX\nROWS\n N o\nCOLUMNS\n x o 4\nRHS\n b o -1\nQUADOBJ\n x x -2\nENDATA\n");
    // max x without any bound above: the solver takes the step from an empty working set for the
    // last one and reports an optimum, but the gradient is as long as before.
    write("unbounded", "ROWS\n N o\nCOLUMNS\n x o -1\nENDATA\n");
    write("saddle", Saddle);
    // 6 + 2 at x = 2, y = 1: one more of r brings 3, one more of e 2.
    write("prices",
          "OBJSENSE MAX\nROWS\n N o\n L r\n E e\nCOLUMNS\n x o 3 r 1\n y o 2 e 1\n"
          "RHS\n b r 2 e 1\nENDATA\n");
    const std::string longer = "'" + (Examples / "hs118.qps").string() + "'";
    struct Case {
        std::string arguments;
        const char* line;
        int status;
    };
    const std::vector<Case> cases{
        {"- < two", "outcome          optimal", 0},
        {longer + " --max-iter 9", "outcome          iteration limit", 1},
        {longer + " --time-limit 0", "outcome          time limit", 1},
        {"away", "objective        0.5", 0},
        {"empty", "outcome          infeasible, proved by multipliers with residual 0.0e+00", 1},
        {"equal", "outcome          infeasible, proved by multipliers with residual 0.0e+00", 1},
        {"unbounded", "outcome          unbounded, proved by a ray with residual 0.0e+00", 1},
        {"saddle", "outcome          not convex, proved by a direction with curvature -2.0e+00", 1},
        {"empty --solution",
         "contradiction: times these the constraints add up to 0 <= -1\n  upper side r  1\n"
         "  lower side s  1\n",
         1},
        {"equal --solution", "  equality r  1\n  equality s  -1\n", 1},
        {"unbounded --solution",
         "direction in which the objective falls without end, entries other than 0\n  x  1\n", 1},
        {"saddle --solution",
         "direction in which the problem is not convex, entries other than 0\n  x  1\n", 1},
        {"maximum", "objective        5, a maximum", 0},
        {"prices --solution",
         "  x  2\n  y  1\nmultipliers other than 0\n  equality e  2\n  upper side r  3\n", 0},
        {"two --display final --strict", " fstar: -6.5 Active: 1 Iterations: 3", 0},
        {"two --max-iter 1 --strict", "outcome          iteration limit reached (0)", 1},
        {"two --tol-x 10 --strict", "objective        8.5", 0},  // the start counts as optimal
        {"away --strict", "objective        0.5", 0},
        {"away --tol-con 1 --strict", "objective        0", 0},
        {"empty --strict", "outcome          infeasible (-2)", 1},
        {"empty --strict", "primal residual  5.0e-01", 1},  // halfway between 1 and 2
        {"empty --max-iter 1 --strict",
         "outcome          iteration limit reached before a feasible point was found (-2)", 1},
        {"equal --strict", "outcome          equality constraints dependent and inconsistent (-3)",
         1},
        {"unbounded --strict", "outcome          optimal (1)", 1},
        {"unbounded --strict", "dual residual    1.0e+00  (does not support the outcome)", 1},
        {"maximum --strict", "objective        5, a maximum", 0}};
    for (const Case& example : cases) {
        const Outcome outcome = run("solve " + example.arguments);
        EXPECT_THAT(outcome.out, ::testing::HasSubstr(std::string("\n") + example.line + "\n"));
        EXPECT_EQ(outcome.status, example.status) << example.line;
    }
}

TEST_F(Solving, TellsHowFarAContradictionReaches) {
    // 0.1 is no third of 0.3, by 2⁻⁵⁵, and nothing bounds x.
    write("rounded",
          "ROWS\n N o\n L r\n G s\nCOLUMNS\n x r 0.3 s 0.1\nRHS\n b r 3 s 2\nBOUNDS\n FR b x\n"
          "ENDATA\n");
    EXPECT_THAT(run("solve rounded").out, ::testing::HasSubstr(" up to a sum of |x| of "));
    const json radius = json::parse(run("solve --json rounded").out).at("farkas").at("radius");
    EXPECT_GT(radius.get<double>(), 1e12);
    EXPECT_LT(radius.get<double>(), 1e18);
}

TEST_F(Solving, JsonHasTheSolutionByName) {
    std::istringstream out(
        run("solve --json --solution '" + (Examples / "hs76.qps").string() + "' absent.qps").out);
    json result;
    json unreadable;
    out >> result >> unreadable;

    EXPECT_TRUE(result.at("proved").get<bool>());
    EXPECT_TRUE(result.at("core_exit_code").is_null());  // predicted
    const std::string cold =
        run("solve --json --start cold '" + (Examples / "hs76.qps").string() + "'").out;
    EXPECT_EQ(json::parse(cold).at("core_exit_code"), 1);
    EXPECT_EQ(result.at("active").at("inequalities"), 1);
    EXPECT_EQ(result.at("active").at("lower_bounds"), 1);
    EXPECT_EQ(result.at("x").at(1).at("variable"), "X2");
    EXPECT_NEAR(result.at("x").at(1).at("value").get<double>(), 23.0 / 11, 1e-14);
    // From the gradient: 2·3/11 − 1 + λ = 0 for X1; X3's bound takes up what is left there.
    const json& multipliers = result.at("multipliers");  // sides of rows, lower and upper bounds
    EXPECT_EQ(multipliers.size(), 3U + 4U + 4U);
    EXPECT_NEAR(multipliers[0].at("value").get<double>(), 5.0 / 11, 1e-14);
    EXPECT_EQ(multipliers[2], json({{"kind", "lower side"}, {"name", "THIRD"}, {"value", 0.0}}));
    EXPECT_EQ(multipliers[5].at("kind"), "lower bound");
    EXPECT_EQ(multipliers[5].at("name"), "X3");
    EXPECT_NEAR(multipliers[5].at("value").get<double>(), 19.0 / 11, 1e-14);
    EXPECT_EQ(unreadable.at("error"), "absent.qps: cannot be opened: No such file or directory");
}

TEST_F(Solving, JsonHasTheProofThatThereIsNoOptimum) {
    write("equal", "NAME t FREE\nROWS\n N o\n E r\n E s\n" + TwoSides);
    write("saddle", Saddle);
    std::istringstream out(run("solve --json --solution equal saddle").out);
    json equal;
    json saddle;
    out >> equal >> saddle;

    const json& farkas = equal.at("farkas");
    EXPECT_EQ(farkas.at("value"), -1.0);
    EXPECT_LE(farkas.at("residual"), 1e-15);
    EXPECT_EQ(farkas.at("multipliers").size(), 4U);
    EXPECT_NEAR(farkas.at("multipliers")[1].at("value").get<double>(), -1.0, 1e-15);
    EXPECT_EQ(saddle.at("direction"),
              json::parse(R"({"curvature": -2.0, "entries": [{"variable": "x", "value": 1.0}]})"));
    EXPECT_TRUE(equal.at("proved").get<bool>() && saddle.at("proved").get<bool>());
    const std::string strict = run("solve --strict --json --display off equal").out;
    EXPECT_EQ(json::parse(strict).at("core_exit_code"), -3);
}

/// By the name of the file without its extension, from a table with a heading.
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

/// Of all files of a folder that are solved in time; how many these are.
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
        // The optimum of HS268 is 0, to which the table comes no nearer than 2e-6.
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

// Whatever is read wrongly, numbers, sides or signs, moves the optimum.
TEST_F(SlowSolving, ReachesThePublishedOptima) {
    const std::filesystem::path folder = test::shared("problems/maros");
    if (folder.empty()) {
        GTEST_SKIP() << test::NothingShared;
    }
    EXPECT_GT(expectOptima(folder, "optimal_values.csv", 1e-7), 35);
}

}  // namespace
}  // namespace activeset::cli::tests
