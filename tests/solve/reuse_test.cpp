// One solver for several solves, warm starts, limits and interrupts.
#include <gtest/gtest.h>

#include <climits>
#include <thread>

#include "activeset/sizes.hpp"
#include "solve/examples.hpp"
#include "solve/optimality.hpp"
#include "solve/recorder.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

class Reuse : public FreshState {};

TEST_F(Reuse, OneSolverTakesProblemsOfAnySizeInAnyOrder) {
    NullSpaceAS solver;
    for (const Problem& problem : {box(3), triangleFromOutside(), box(8), infeasible(), dependent(),
                                   contradiction(), box(1), triangle(), box(8)}) {
        const Result expected = solve(problem);
        Bench bench(problem);
        const ASsolution solution =
            solver(*bench.objective, bench.constraint, column(problem.start()), bench.options,
                   column(problem.Wineq), column(problem.Wlower), column(problem.Wupper));
        EXPECT_EQ(solution.getSolutoinState(), expected.state);
        EXPECT_EQ(bits(values(solution.xstarRef())), bits(expected.x));
        EXPECT_EQ(bits(values(solution.lambdaRef())), bits(expected.lambda));
    }
}

TEST_F(Reuse, ASolverServesAgainAfterAnError) {
    Bench bench(triangle());
    const OPTMatrix<double> expected = bench.solve().getxstar();
    EXPECT_THROW(bench.solver(*bench.objective, bench.constraint, column({0}), bench.options,
                              nullptr, nullptr, nullptr),
                 HostError);
    EXPECT_EQ(bits(values(bench.solve().xstarRef())), bits(values(expected)));
}

TEST_F(Reuse, FromItsOwnResultASolveTakesAtMostThreePasses) {
    for (const Problem& problem : {box(12), triangleFromOutside(), dependent()}) {
        const Result cold = solve(problem);
        Problem again = problem;
        again.x0 = cold.x;
        again.Wineq = cold.lists[1];
        again.Wlower = cold.lists[2];
        again.Wupper = cold.lists[3];
        const Result warm = solve(again);
        EXPECT_FALSE(lastSolveReport().phaseOneRan);
        EXPECT_LE(lastSolveReport().iterations, 3);
        EXPECT_EQ(warm.state, ASQP::Optimal);
        expectOptimal(problem, warm.x, warm.lambda, 1e-14);
    }
}

class Stops : public FreshState {};

TEST_F(Stops, MaxIterOfZeroOrLessAllowsOnePass) {
    for (const int limit : {0, -1, INT_MIN}) {
        const Result result = solve(box(3), {limit, 1e-6, 1e-8});
        EXPECT_EQ(result.state, ASQP::MaxIterReached);
        EXPECT_EQ(lastSolveReport().iterations, 1);
        // Along (10, 20, 30) until x3 is at its bound.
        expectNear(columnMatrix(result.x), {{1.0 / 3.0}, {2.0 / 3.0}, {1.0}}, 4 * Eps);
        EXPECT_EQ(result.lists[3], Numbers{3});
    }
}

// The limit holds for each phase; a phase one that it cuts short has found nothing feasible.
TEST_F(Stops, ALimitReachedInPhaseOneEndsAsInfeasible) {
    Problem problem = box(3);
    problem.x0 = {-5, 9, -7};
    const Result result = solve(problem, {0, 1e-6, 1e-8});
    EXPECT_EQ(result.state, ASQP::Infeasible);
    EXPECT_EQ(lastSolveReport().phaseOneIterations, 1);
    EXPECT_EQ(result.lambda, Numbers(6, 0.0));
}

TEST_F(Stops, AnInterruptFromAnotherThreadEndsTheNextPassAtAFeasiblePoint) {
    const Problem problem = box(10);
    Bench bench(problem);
    size_t rows = 0;
    RowOptions interrupting([&] {
        if (++rows == 5) {  // the start row and four passes
            std::thread([] { utInterruptState::flags_pending = 1; }).join();
        }
    });
    const ASsolution solution =
        bench.solver(*bench.objective, bench.constraint, column(problem.start()), interrupting,
                     nullptr, nullptr, nullptr);
    const PendingInterrupt clear(false);
    EXPECT_EQ(solution.getSolutoinState(), ASQP::Interrupted);
    EXPECT_EQ(bench.solver._getCurrentIter(), 5);
    EXPECT_EQ(rows, 6U);
    const Numbers x = values(solution.xstarRef());
    EXPECT_EQ(std::count(x.begin(), x.end(), 1.0), 5) << "one bound a pass";
    EXPECT_GE(*std::min_element(x.begin(), x.end()), 0.0);
    EXPECT_LE(*std::max_element(x.begin(), x.end()), 1.0);
    double f = 0.0;
    for (size_t k = 0; k < x.size(); ++k) {
        f += 0.5 * x[k] * x[k] + problem.c[k] * x[k];
    }
    EXPECT_NEAR(solution.fstarRef()(0, 0), f, 1e-13 * std::abs(f));
    EXPECT_EQ(utInterruptMode::depth(), 0);
}

TEST_F(Stops, AnInterruptThatIsNotClearedEndsEveryLaterSolve) {
    const PendingInterrupt flag;
    for (int call = 0; call < 2; ++call) {
        EXPECT_EQ(solve(box(4)).state, ASQP::Interrupted);
        EXPECT_EQ(lastSolveReport().iterations, 1);
        EXPECT_EQ(utInterruptState::flags_pending, 1) << "the library must not clear it";
    }
}

}  // namespace
}  // namespace activeset::test
