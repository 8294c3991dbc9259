// What an outcome does not promise: the examples of docs/limits.md. A change here changes what
// callers may conclude.
#include <gtest/gtest.h>

#include <cmath>

#include "solve/call.hpp"
#include "support/fixture.hpp"
#include "support/test_access.hpp"

namespace activeset::test {
namespace {

class OutcomeLimits : public FreshState {};

struct FalseOptimum {
    const char* name;
    Problem problem;
    Numbers point;  // where the solve ends with state 1
    int skipped = 0;
};

TEST_F(OutcomeLimits, OptimalIsSaidOfPointsThatAreNot) {
    const FalseOptimum examples[] = {
        // Unbounded along (1, −1). One step along −g is taken; nothing blocks and nothing is
        // active.
        {"singular H, empty working set", {{{1, 1}, {1, 1}}, {-1, 1}}, {1, -1}},
        // The objective is unbounded below, but the solve ends in the same way.
        {"indefinite H, empty working set", {{{1, 0}, {0, -1}}, {-1, 0}, {}, {}}, {1, 0}},
        // The step takes both halves from the upper triangle of H: (2 0; 0 2)·p = (2, 3).
        {"H not symmetric", {{{2, 0}, {1, 2}}, {-2, -3}}, {1, 1.5}},
        // The norm of the direction is NaN, so there is no direction.
        {"NaN in c", {{{1}}, {NaN}}, {0}},
        // The row is violated by 1e-7, which TolCon allows. In x that is 100.
        {"a small row", {{{1}}, {0}, {{-1e-9}}, {-1e-7}}, {0}},
        // The direction is shorter than TolX, but the gradient is not zero.
        {"a small gradient", {{{1}}, {-5e-9}}, {0}},
        // The upper bound of x1 becomes a lower one with right-hand side 0.
        {"a list with a bound that does not exist",
         {.H = {{1, 0}, {0, 1}},
          .c = {-3, 0},
          .lb = {-Inf, 0},
          .ub = {1, Inf},
          .Wlower = {1},
          .Wupper = {1}},
         {0, 0},
         1},
        // The bound of x1 gets the column of the entry 0, and leaves the working set instead of it.
        {"a list that counts from 0",
         {.H = {{1, 0}, {0, 1}}, .c = {-3, -2}, .ub = {1, 1}, .Wupper = {0, 1}},
         {0, 1},
         1},
    };
    for (const FalseOptimum& example : examples) {
        SCOPED_TRACE(example.name);
        const Result result = solve(example.problem);
        EXPECT_EQ(result.state, ASQP::Optimal);
        EXPECT_EQ(lastSolveReport().skippedEntries, example.skipped);
        ASSERT_EQ(result.x.size(), example.point.size());
        for (size_t i = 0; i < result.x.size(); ++i) {
            EXPECT_NEAR(result.x[i], example.point[i], 1e-12);
        }
    }
}

// A rate counts from 1000·ε·‖p‖ on. Here ‖p‖ is 2⁵⁰ and x₂ approaches its bound at a rate of 1.
TEST_F(OutcomeLimits, AVeryLongDirectionGoesThroughTheConstraints) {
    Problem problem{.H = {{0x1p-50, 0}, {0, 1}}, .c = {-1, -1}, .ub = {Inf, 0.5}};
    const Result alone = solve(problem);
    EXPECT_EQ(alone.state, ASQP::Optimal);
    EXPECT_EQ(alone.x, (Numbers{0x1p50, 1.0}));

    // Two more variables are at their bounds. The one without curvature leaves the working set.
    problem.H = {{0x1p-50, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 1}};
    problem.c = {-1, -1, -1, 1};
    problem.lb = {-Inf, -Inf, 0, 0};
    problem.ub = {Inf, 0.5, Inf, Inf};
    problem.Wlower = {3, 4};
    const Result later = solve(problem);
    EXPECT_EQ(later.state, ASQP::HessianNotPositiveDefinite);
    EXPECT_EQ(later.x, (Numbers{0x1p50, 1.0, 1.0, 0.0}));
}

TEST_F(OutcomeLimits, ALinearObjectiveWithNothingActiveIsCalledOptimalAtInfinity) {
    Bench bench(Problem{{}, {1.0}});
    const ASsolution solution = bench.solve();
    EXPECT_EQ(solution.getSolutoinState(), ASQP::Optimal);
    EXPECT_EQ(solution.xstarRef()(0, 0), -1e30);
}

// From x = 0, x ≥ 1 can be satisfied, but not without a pass.
TEST_F(OutcomeLimits, AStopInsidePhaseOneIsReportedAsInfeasible) {
    Problem problem{{{1.0}}, {0.0}};
    problem.lb = {1.0};
    Bench cutShort(problem);
    cutShort.options.setMaxIter(0);
    EXPECT_EQ(cutShort.solve().getSolutoinState(), ASQP::Infeasible);
    EXPECT_EQ(cutShort.solver.getPhaseOneOutcome().state, ASQP::MaxIterReached);
    EXPECT_GT(cutShort.solver.getPhaseOneOutcome().violation, 0.0);

    problem.ub = {0.0};  // a proof: every point violates a bound by at least one half
    Bench proven(problem);
    EXPECT_EQ(proven.solve().getSolutoinState(), ASQP::Infeasible);
    EXPECT_EQ(proven.solver.getPhaseOneOutcome().state, ASQP::Optimal);
    EXPECT_NEAR(proven.solver.getPhaseOneOutcome().violation, 0.5, 1e-12);
}

// The row means x ≥ 1e5. Along it γ falls by 1e-10 with a step of length one.
TEST_F(OutcomeLimits, ARowSoSmallThatPhaseOneTakesNoStepIsReportedAsInfeasible) {
    Bench bench(Problem{{{1.0}}, {0.0}, {{-1e-10}}, {-1e-5}});
    EXPECT_EQ(bench.solve().getSolutoinState(), ASQP::Infeasible);
    EXPECT_EQ(bench.solver.getPhaseOneOutcome().state, ASQP::Optimal);
    EXPECT_NEAR(bench.solver.getPhaseOneOutcome().violation, 1e-5, 1e-12);
}

TEST_F(OutcomeLimits, EqualitiesThatAgreeToRoundingCanCountAsInconsistent) {
    Problem problem{{{1.0, 0.0}, {0.0, 1.0}}, {0.0, 0.0}};
    problem.Aeq = {{1.0, 1.0}, {1.0, 1.0}};
    problem.beq = {1e7, std::nextafter(1e7, 1e8)};  // they differ by rounding
    EXPECT_EQ(solve(problem).state, ASQP::DependentConstraints);
}

TEST_F(OutcomeLimits, WhatWasDroppedAsDependentIsTold) {
    Problem problem{{{1.0, 0.0}, {0.0, 1.0}}, {0.0, 0.0}};
    problem.Aeq = {{1.0, 1.0}, {2.0, 2.0}};
    problem.beq = {1.0, 2.0};
    Bench bench(problem);
    EXPECT_EQ(bench.solve().getSolutoinState(), ASQP::Optimal);
    EXPECT_EQ(bench.solver.getDroppedEqualities(), std::vector<size_t>{0});  // the shorter row
    EXPECT_EQ(bench.solver.getRepairCount(), 0);
}

// The working set has changed since its multipliers were computed.
TEST_F(OutcomeLimits, MultipliersOfOtherOutcomesAreNotThoseOfThePoint) {
    Problem problem{{{1.0, 0.0}, {0.0, 1.0}}, {-3.0, -2.0}};
    problem.ub = {1.0, 1.0};
    const Result result = solve(problem, {.maxIter = 1});
    EXPECT_EQ(result.state, ASQP::MaxIterReached);
    EXPECT_EQ(result.lists[3], (Numbers{1.0, 2.0}));  // both bounds are active
    EXPECT_EQ(result.lambda, Numbers(4, 0.0));        // at (1, 1) they would be 2 and 1
}

}  // namespace
}  // namespace activeset::test
