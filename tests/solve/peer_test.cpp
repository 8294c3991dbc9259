// A few hundred generated problems, larger than elsewhere, solved by an independent solver as well:
// the interior-point method of python3-cvxopt.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>

#include "solve/call.hpp"
#include "support/any_problem.hpp"
#include "support/fixture.hpp"
#include "support/folders.hpp"

namespace activeset::test {
namespace {

using nlohmann::json;

/// The problem for the peer: without dependent equalities, which it rejects, and with rows of
/// length 1.
json forPeer(const AnyProblem& any) {
    json result{{"H", any.problem.H}, {"c", any.problem.c}, {"G", Rows()},
                {"h", Numbers()},     {"E", Rows()},        {"e", Numbers()}};
    for (const RowConstraint& constraint : constraintsOf(any.problem)) {
        const double length = std::sqrt(dot(constraint.row, constraint.row));
        if (length > 0.0 && (!constraint.isEquality || constraint.number < any.rank)) {
            Numbers row = constraint.row;
            std::ranges::transform(row, row.begin(), [&](double x) { return x / length; });
            result[constraint.isEquality ? "E" : "G"].push_back(row);
            result[constraint.isEquality ? "e" : "h"].push_back(constraint.rhs / length);
        }
    }
    return result;
}

/// The peer's answers, a line of JSON each; none if it is not installed.
std::vector<json> answersOfPeer(const std::vector<AnyProblem>& problems) {
    const std::string base = ::testing::TempDir() + "activeset_peer_" + std::to_string(getpid());
    std::ofstream asked(base + ".in");
    for (const AnyProblem& any : problems) {
        asked << forPeer(any) << '\n';
    }
    asked.close();
    const std::string command = "/usr/bin/python3 " + goldenFolder() + "/../solve/peer.py '" +
                                base + ".in' '" + base + ".out'";
    const int status = std::system(command.c_str());
    std::remove((base + ".in").c_str());
    std::ifstream lines(base + ".out");
    std::remove((base + ".out").c_str());
    const bool isInstalled = WEXITSTATUS(status) != 77 && WEXITSTATUS(status) != 127;
    EXPECT_TRUE(status == 0 || !isInstalled);
    std::vector<json> answers;
    for (std::string line; isInstalled && std::getline(lines, line);) {
        answers.push_back(json::parse(line));
    }
    return answers;
}

/// Solves a problem as well, from a feasible start if `isInside`, and compares.
void expectSame(const AnyProblem& any, const json& answer, bool isInside) {
    Problem problem = any.problem;
    problem.Wineq = problem.Wlower = problem.Wupper = {};
    if (isInside) {
        problem.x0 = any.inside;
    }
    const Limits limits{2000, isInside ? 1e-9 : 1e-6, 1e-10};
    const Result result = solve(problem, limits);
    ASSERT_EQ(result.state, ASQP::Optimal);
    // The interior-point method leaves a gap, and a violation changes the objective by its
    // multiplier. Because of H ≥ I both bound the distance of the points.
    const double f = answer.at("f");
    double gap = (answer.at("status") == "optimal" ? 1e-9 : 1e-6) * (1.0 + std::abs(f));
    for (const double multiplier : result.lambda) {
        gap += limits.tolCon * std::abs(multiplier);
    }
    EXPECT_NEAR(result.f, f, gap);
    const Numbers x = answer.at("x");
    for (size_t i = 0; i < x.size(); ++i) {
        EXPECT_NEAR(result.x[i], x[i], std::sqrt(2.0 * gap));
    }
}

class SlowPeer : public FreshState {};

TEST_F(SlowPeer, AnInteriorPointMethodFindsTheSameOptimum) {
    constexpr std::uint64_t Seed = 20;
    std::vector<AnyProblem> problems;
    rc::Random random(Seed);
    for (const Shapes& shapes : {Shapes{1, 12, true}, Shapes{12, 50, true}}) {
        for (int k = 0; k < 150; ++k) {
            problems.push_back(anyProblem(shapes)(random.split(), rc::kNominalSize).value());
        }
    }
    const std::vector<json> answers = answersOfPeer(problems);
    if (answers.empty()) {
        GTEST_SKIP() << "python3-cvxopt is not installed";
    }
    ASSERT_EQ(answers.size(), problems.size());
    size_t certain = 0;
    for (size_t k = 0; k < problems.size(); ++k) {
        SCOPED_TRACE("problem " + std::to_string(k) + " of seed " + std::to_string(Seed));
        expectSame(problems[k], answers[k], k % 2 == 0);
        certain += size_t{answers[k].at("status") == "optimal"};
    }
    EXPECT_GT(certain, problems.size() * 9 / 10);
}

}  // namespace
}  // namespace activeset::test
