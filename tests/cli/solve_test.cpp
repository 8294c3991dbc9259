// Whole runs: what is printed for each outcome, as text and as JSON.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <map>
#include <nlohmann/json.hpp>

#include "cli/run_cli.hpp"

namespace activeset::cli::tests {
namespace {

using nlohmann::json;

/// min ½(x − 4)² + ½(y − 1)² subject to x ≤ 2 from (0, 0): half of the way to (4, 1) reaches the
/// row, then y goes on alone. Every number on the way is exact.
const char* const TwoSteps =
    "NAME two steps FREE\n"
    "ROWS\n N cost\n L wall\n"
    "COLUMNS\n x cost -4 wall 1\n y cost -1\n"
    "RHS\n b cost -8.5 wall 2\n"
    "QUADOBJ\n x x 1\n y y 1\n"
    "ENDATA\n";

class Solving : public CommandLine {
protected:
    [[nodiscard]] Outcome solve(const std::string& text,
                                const std::vector<std::string>& options = {"--display", "off"}) {
        write("p.qps", text);
        std::vector<std::string> arguments{"solve", "p.qps"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return run(arguments);
    }
};

void expectLine(const Outcome& outcome, const std::string& line) {
    EXPECT_NE(outcome.out.find(line + "\n"), std::string::npos) << line << "\n" << outcome.out;
}

TEST_F(Solving, PrintsTheTableAndTheSummary) {
    std::ostringstream golden;
    golden << std::ifstream(ACTIVESET_GOLDEN_DIR "/cli_two_steps.txt").rdbuf();
    const Outcome outcome = solve(TwoSteps, {"--solution"});

    EXPECT_EQ(outcome.out, golden.str());
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(Solving, PassesTheOptionsOn) {
    const Outcome limited = solve(TwoSteps, {"--max-iter", "1", "--display", "off"});
    expectLine(limited, "outcome          iteration limit reached (0)");
    EXPECT_EQ(limited.status, 1);

    // The last line of the display "final" counts as the summary does.
    const Outcome final = solve(TwoSteps, {"--display", "final"});
    expectLine(final, " fstar: -6.5 Active: 1 Iterations: 3");
    expectLine(final, "iterations       3");

    // A direction shorter than this counts as zero: the start is taken for the optimum.
    const Outcome coarse = solve(TwoSteps, {"--tol-x", "10", "--display", "off"});
    expectLine(coarse, "objective        8.5");

    // x = 0 violates x ≥ 1 by no more than this.
    const std::string away =
        "ROWS\n N o\nCOLUMNS\n x o 0\nBOUNDS\n LO b x 1\nQUADOBJ\n x x 1\nENDATA\n";
    expectLine(solve(away, {"--tol-con", "1", "--display", "off"}), "objective        0");
    expectLine(solve(away), "objective        0.5");
}

TEST_F(Solving, InfeasibleProblemsAreToldFromPhaseOneCutShort) {
    const std::string text =
        "NAME t FREE\nROWS\n N o\n L r\n G s\nCOLUMNS\n x o 1 r 1\n x s 1\n"
        "RHS\n b r 1 s 2\nQUADOBJ\n x x 1\nENDATA\n";
    const Outcome infeasible = solve(text);
    expectLine(infeasible, "outcome          infeasible (-2)");
    expectLine(infeasible, "primal residual  5.0e-01");  // halfway between 1 and 2
    EXPECT_EQ(infeasible.out.find("does not support"), std::string::npos);
    EXPECT_EQ(infeasible.status, 1);

    const Outcome limited = solve(text, {"--max-iter", "1", "--display", "off"});
    expectLine(limited,
               "outcome          iteration limit reached before a feasible point was found (-2)");
}

TEST_F(Solving, InconsistentEqualitiesHaveTheirOwnOutcome) {
    const Outcome outcome = solve(
        "NAME t FREE\nROWS\n N o\n E r\n E s\nCOLUMNS\n x o 1 r 1\n x s 1\n y r 1 s 1\n"
        "RHS\n b r 1 s 2\nQUADOBJ\n x x 1\n y y 1\nENDATA\n");

    expectLine(outcome, "outcome          equality constraints dependent and inconsistent (-3)");
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(Solving, AnOutcomeThatTheResidualsBelieIsMarkedAndNotStatusZero) {
    // max x without any bound above: the solver takes the step from an empty working set for the
    // last one and reports an optimum, but the gradient is as long as before.
    const Outcome outcome = solve("ROWS\n N o\nCOLUMNS\n x o -1\nENDATA\n");

    expectLine(outcome, "outcome          optimal (1)");
    expectLine(outcome, "dual residual    1.0e+00  (does not support the outcome)");
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(Solving, AMaximumIsReportedAsTheFileStatesIt) {
    // max 4x − x² + 1: 5 at x = 2.
    const Outcome outcome = solve(
        "OBJSENSE\n MAX\nROWS\n N o\nCOLUMNS\n x o 4\nRHS\n b o -1\nQUADOBJ\n x x -2\nENDATA\n");

    expectLine(outcome, "objective        5, a maximum");
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(Solving, JsonHasTheSolutionByName) {
    std::filesystem::copy_file(ACTIVESET_EXAMPLES_DIR "/problems/hs76.qps", folder_ / "hs76.qps");
    const Outcome outcome = run({"solve", "--json", "--solution", "hs76.qps", "absent.qps"});
    ASSERT_EQ(outcome.status, 2);
    const std::size_t lineEnd = outcome.out.find('\n');
    const json result = json::parse(outcome.out.substr(0, lineEnd));
    const json failure = json::parse(outcome.out.substr(lineEnd + 1));

    EXPECT_EQ(result.at("file"), "hs76.qps");
    EXPECT_EQ(result.at("code"), 1);
    EXPECT_EQ(result.at("supported"), true);
    EXPECT_NEAR(result.at("objective").get<double>(), -103.0 / 22, 1e-13);
    EXPECT_EQ(result.at("active").at("inequalities"), 1);
    EXPECT_EQ(result.at("active").at("lower_bounds"), 1);
    const std::vector<double> point{3.0 / 11, 23.0 / 11, 0, 6.0 / 11};
    for (std::size_t j = 0; j < 4; ++j) {
        EXPECT_EQ(result.at("x").at(j).at("variable"), "X" + std::to_string(j + 1));
        EXPECT_NEAR(result.at("x").at(j).at("value").get<double>(), point[j], 1e-14);
    }
    // From the gradient: 2·3/11 − 1 + λ = 0 for X1; X3's bound takes up what is left there.
    std::map<std::string, double> multipliers;
    for (const json& entry : result.at("multipliers")) {
        multipliers[entry.at("kind").get<std::string>() + " " +
                    entry.at("name").get<std::string>()] = entry.at("value");
    }
    EXPECT_EQ(multipliers.size(), 3U + 4U + 4U);
    EXPECT_NEAR(multipliers.at("upper side FIRST"), 5.0 / 11, 1e-14);
    EXPECT_NEAR(multipliers.at("lower bound X3"), 19.0 / 11, 1e-14);
    EXPECT_EQ(multipliers.at("lower side THIRD"), 0.0);

    EXPECT_EQ(failure.at("file"), "absent.qps");
    EXPECT_EQ(failure.at("error"), "absent.qps:0: cannot be opened: No such file or directory");
}

/// The results of an independent implementation, where the machine has them.
TEST_F(Solving, AgreesWithTheReferenceInOutcomeObjectiveAndPasses) {
    const char* const named = std::getenv("ACTIVESET_SHARED");
    const std::filesystem::path shared = named != nullptr ? named : ACTIVESET_SHARED_DIR;
    std::ifstream file(shared / "reference" / "problems.json");
    if (!file) {
        GTEST_SKIP() << "no reference results: neither ACTIVESET_SHARED nor the build names them";
    }
    int compared = 0;
    for (const json& expected : json::parse(file)) {
        const std::string name = expected.at("file");
        if (expected.at("n").get<int>() > 60) {
            continue;
        }
        SCOPED_TRACE(name);
        ++compared;
        const Outcome outcome = run({"solve", "--json", (shared / "problems" / name).string()});
        const json result = json::parse(outcome.out);
        EXPECT_EQ(result.at("code"), expected.at("exitflag"));
        EXPECT_EQ(result.at("supported"), true);
        const double objective = expected.at("fstar");
        EXPECT_NEAR(result.at("objective").get<double>(), objective,
                    1e-8 * std::max(1.0, std::abs(objective)));
        if (expected.at("same_path_on_two_blas").get<bool>()) {
            EXPECT_EQ(result.at("iterations"), expected.at("passes"));
            EXPECT_EQ(result.at("phase_one_iterations"), expected.at("passes_phase_one"));
        }
    }
    EXPECT_GT(compared, 20);
}

}  // namespace
}  // namespace activeset::cli::tests
