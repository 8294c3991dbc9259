// Soft sides compared with hand arithmetic, and penalties that are refused.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

#include "activeset/qp.hpp"
#include "activeset/ranges.hpp"
#include "frontend/soft/slacks.hpp"

namespace activeset::test {
namespace {

using Numbers = std::vector<double>;
using ::testing::DoubleNear;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

/// ½(x − 3)² with x ≤ 1.
struct Pulled {
    Numbers one{1}, c{-3}, side{1}, l{1}, q{1}, large{1e3};
    Problem problem{.H = {one, 1, 1}, .c = c, .A = {one, 1, 1}, .rowUpper = side, .constant = 4.5};
};

TEST(SoftSides, CapMultipliersAndBendTheObjective) {
    Pulled pulled;
    pulled.problem.rowPenalty.upperLinear = pulled.l;
    const Result capped = solve(pulled.problem);  // x − 3 + 1 = 0
    EXPECT_THAT(capped.x, ElementsAre(DoubleNear(2, 1e-12)));
    EXPECT_THAT(capped.y, ElementsAre(DoubleNear(1, 1e-12)));
    EXPECT_NEAR(capped.objective, 0.5 + 1.0, 1e-12);
    EXPECT_THAT(capped.workingSet.softViolated.rowsAtUpper, ElementsAre(0));
    EXPECT_EQ(capped.workingSet.size(), 0U);

    pulled.problem.rowPenalty.upperQuadratic = pulled.q;  // x − 3 + 1 + (x − 1) = 0
    EXPECT_THAT(solve(pulled.problem).x, ElementsAre(DoubleNear(1.5, 1e-12)));
    pulled.problem.rowPenalty.upperLinear = {};  // x − 3 + (x − 1) = 0
    const Result bent = solve(pulled.problem);
    EXPECT_THAT(bent.x, ElementsAre(DoubleNear(2, 1e-12)));
    EXPECT_THAT(bent.y, ElementsAre(DoubleNear(1, 1e-12)));

    pulled.problem.rowPenalty = {.upperLinear = pulled.large};
    const Result exact = solve(pulled.problem);
    EXPECT_THAT(exact.x, ElementsAre(1.0));
    EXPECT_THAT(exact.y, ElementsAre(DoubleNear(2, 1e-12)));
    EXPECT_THAT(exact.workingSet.rowsAtUpper, ElementsAre(0));
}

TEST(SoftSides, LeaveOnlyHardOnesToAContradiction) {
    const Numbers c{0, 0};
    const Numbers A{1, 1, 1, 0, 0, 0};  // x ≤ 1, x ≥ 2, x ≥ 3
    const Numbers lower{-Infinity, 2, 3};
    const Numbers upper{1, Infinity, Infinity};
    const Numbers l{Infinity, Infinity, 1};
    const Problem problem{.c = c,
                          .A = {A, 3, 2},
                          .rowLower = lower,
                          .rowUpper = upper,
                          .rowPenalty = {.lowerLinear = l}};
    const Result result = solve(problem);
    ASSERT_EQ(result.status, Status::Infeasible);
    EXPECT_EQ(result.farkas->y[2], 0.0);
    const Conflict conflict = explainInfeasibility(problem);
    EXPECT_THAT(conflict.rowsAtLower, ElementsAre(1));
    EXPECT_THAT(conflict.rowsAtUpper, ElementsAre(0));
    EXPECT_THROW(static_cast<void>(ranges(result, problem)), std::invalid_argument);
}

// min −x has a minimum only if violating x ≤ 1 costs at least 1 per unit.
TEST(SoftSides, EndWhatWouldBeUnbounded) {
    const Numbers c{-1};
    const Numbers A{1};
    const Numbers side{1};
    Numbers l{2};
    const Problem problem{
        .c = c, .A = {A, 1, 1}, .rowUpper = side, .rowPenalty = {.upperLinear = l}};
    EXPECT_THAT(solve(problem).x, ElementsAre(DoubleNear(1, 1e-9)));
    l[0] = 0.5;
    const Result result = solve(problem);
    EXPECT_EQ(result.status, Status::Unbounded);
    ASSERT_EQ(result.direction.size(), 1U);
    EXPECT_GT(result.direction[0], 0.0);

    // The count includes the work on pieces that gave no proof and on the problem with slack
    // variables.
    const Numbers costs{-1, 0.5};
    const Numbers row{1, -1};
    const Numbers lower{-Infinity, 0};
    const Result slacks = solve({.c = costs, .A = {row, 1, 2}, .rowUpper = side, .lower = lower});
    EXPECT_GT(result.iterations.dual, slacks.iterations.dual);
    EXPECT_GE(result.times.solve, 0.0);
    EXPECT_GE(result.times.setup, 0.0);
}

// All sides are soft, and two of them differ by rounding only. The piece between them looks
// infeasible to a solve, but the problem never is.
TEST(SoftSides, ThatAreAllSoftAreNeverInfeasible) {
    const Numbers H{0.50169649882091349};
    const Numbers c{-1.4524649437552366};
    const Numbers A{2, -2, -2};
    const Numbers rowLower{1, 0, -1.902547857692225e-15};
    const Numbers rowUpper{1.1341832722508833, 0.7566107661762147, 8.0974521423077742e-15};
    const Numbers lower{1};
    const Numbers upper{1.00000000000001};
    const Numbers rowLinear[] = {{100, 13.0612, 1000}, {.01, .102108, 10}, {10, 0, 0}};
    const Numbers boundLinear[] = {{0}, {634.219}, {.1}};
    const Result result = solve({.H = {H, 1, 1},
                                 .c = c,
                                 .A = {A, 3, 1},
                                 .rowLower = rowLower,
                                 .rowUpper = rowUpper,
                                 .lower = lower,
                                 .upper = upper,
                                 .rowPenalty = {rowLinear[0], rowLinear[1], rowLinear[2]},
                                 .boundPenalty = {boundLinear[0], boundLinear[1], boundLinear[2]}});
    EXPECT_EQ(result.status, Status::Optimal);
    EXPECT_NEAR(result.objective, 105.05, 0.01);
}

TEST(SoftSides, RefusePenaltiesThatAreNone) {
    Pulled pulled;
    const auto textOfFault = [&](const Penalty& penalty) {
        pulled.problem.rowPenalty = penalty;
        const Result result = solve(pulled.problem);
        EXPECT_EQ(result.status, Status::Invalid);
        return result.message;
    };
    const Numbers two{1, 1};
    const Numbers negative{-1};
    const Numbers zero{0};
    const Numbers infinite{Infinity};
    EXPECT_EQ(textOfFault({.upperLinear = two}),
              "rowPenalty.upperLinear has 2 entries, expected 1, one per row of A");
    EXPECT_THAT(textOfFault({.upperLinear = negative}),
                HasSubstr("rowPenalty.upperLinear(0) = -1, expected a number from 0 up"));
    EXPECT_THAT(textOfFault({.upperLinear = zero}), HasSubstr("expected more than 0"));
    EXPECT_THAT(textOfFault({.upperQuadratic = infinite}), HasSubstr("expected a finite number"));
    EXPECT_THAT(textOfFault({.lowerLinear = {nullptr, 1}}), HasSubstr("points to no data"));
    Solver solver(pulled.problem);
    EXPECT_EQ(solver.solve().status, Status::Invalid);
    solver.setPenalties({.upperLinear = pulled.l});
    EXPECT_TRUE(solver.solve());
}

// A point that is no optimum may have slacks at both sides of a constraint.
TEST(SoftSides, AreViolatedOnOneSideOnly) {
    const Numbers low{-1, -2};
    const Numbers high{1, 2};
    const Numbers entries{1, 0, 0, 1};
    const Penalty all{.lowerLinear = high, .upperLinear = high};
    const Problem problem{.A = {entries, 2, 2},
                          .rowLower = low,
                          .rowUpper = high,
                          .lower = low,
                          .upper = high,
                          .rowPenalty = all,
                          .boundPenalty = all};
    const frontend::ProblemData data = frontend::copyOf(problem);
    const frontend::Penalties penalties(problem, data);
    const frontend::SlackProblem slack(data, penalties, penalties.softSides());
    // Rows 0 and 1, then variables 0 and 1, lower sides first.
    const ViolatedSides found =
        slack.restricted(WorkingSet(), Numbers{.1, .2, .2, .1, .1, .1, 0, .1}).softViolated;
    EXPECT_THAT(found.rowsAtLower, ElementsAre(1));
    EXPECT_THAT(found.rowsAtUpper, ElementsAre(0));
    EXPECT_THAT(found.atLower, ElementsAre(0));
    EXPECT_THAT(found.atUpper, ElementsAre(1));
}

// x ≤ 1 has no lower side. A Solver may be given one later.
TEST(SoftSides, HaveToBeThere) {
    Pulled pulled;
    const Numbers hardFirst{Infinity, 2};
    pulled.problem.rowPenalty = {.upperLinear = pulled.l, .lowerQuadratic = pulled.q};
    EXPECT_EQ(solve(pulled.problem).message,
              "rowPenalty.lowerQuadratic(0) = 1 is the price of a side that is absent: rowLower is "
              "empty");
    pulled.problem.rowPenalty.lowerLinear = {hardFirst.data(), 1};
    EXPECT_TRUE(solve(pulled.problem));
    const Numbers c{0, 0};
    EXPECT_EQ(
        solve({.c = c, .boundPenalty = {.upperLinear = hardFirst}}).message,
        "boundPenalty.upperLinear(1) = 2 is the price of a side that is absent: upper is empty");
    const Numbers four{4};
    for (const bool isAtOnce : {false, true}) {
        pulled.problem.rowPenalty = isAtOnce ? Penalty{.lowerLinear = pulled.l} : Penalty();
        Solver solver(pulled.problem);
        if (!isAtOnce) {
            solver.setPenalties({.lowerLinear = pulled.l});
        }
        solver.setRowSides(four, {});
        EXPECT_THAT(solver.solve().x, ElementsAre(DoubleNear(4, 1e-12)));  // x − 3 − 1 = 0
    }
}

}  // namespace
}  // namespace activeset::test
