// One solver for several solves; warm starts; limits.
#include <gtest/gtest.h>

#include <climits>

#include "activeset/sizes.hpp"
#include "solve/examples.hpp"
#include "solve/optimality.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"
#include "support/test_access.hpp"

namespace activeset::test {
namespace {

class Reuse : public FreshState {};

// Every member of a solver that can be read, as numbers.
std::vector<Numbers> membersOf(NullSpaceAS& solver) {
    ASsolution& record = solver.getSolution();
    const size_t* const members = solver.getActiveSet().getWset();
    return {values(record.xstarRef()),
            values(record.lambdaRef()),
            values(solver.getLambda()),
            values(solver.getAw()),
            values(solver.getQ()),
            values(solver.getQRwset()),
            values(solver.getTau()),
            values(solver.getnewActiveConstraint()),
            Numbers(members, members + ActiveSet::getmaConstr()),
            {static_cast<double>(record.getSolutoinState()),
             static_cast<double>(solver._getCurrentIter()),
             static_cast<double>(solver.getRepairCount()),
             static_cast<double>(solver.getactivesetChangeIndicator()),
             static_cast<double>(solver.indexOfDepartingConstraint()),
             static_cast<double>(solver.isInitialized()),
             static_cast<double>(solver.getPhaseOneOutcome().iterations),
             static_cast<double>(solver.getDroppedEqualities().size())}};
}

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

TEST_F(Reuse, AnAssignedSolverHasAllThatItsSourceHadAndServesLikeIt) {
    const Problem problem = box(8);
    Bench bench(problem);
    bench.options.setMaxIter(3);
    NullSpaceAS assigned;
    static_cast<void>(bench.solve());
    assigned = bench.solver;
    NullSpaceAS copied(bench.solver);  // the compiler's member-wise copy
    EXPECT_EQ(membersOf(assigned), membersOf(copied));
    EXPECT_EQ(TestAccess::message(assigned), TestAccess::message(copied));
    EXPECT_EQ(TestAccess::lists(assigned), TestAccess::lists(copied));
    EXPECT_EQ(TestAccess::phaseOneLists(assigned), TestAccess::phaseOneLists(copied));
    bench.options.setMaxIter(1000);
    const Numbers expected = values(bench.solve().xstarRef());
    const ASsolution solution =
        assigned(*bench.objective, bench.constraint, column(problem.start()), bench.options,
                 nullptr, nullptr, nullptr);
    EXPECT_EQ(values(solution.xstarRef()), expected);
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
        // Along (10, 20, 30) until x3 reaches its bound.
        expectNear(columnMatrix(result.x), {{1.0 / 3.0}, {2.0 / 3.0}, {1.0}}, 4 * Eps);
        EXPECT_EQ(result.lists[3], Numbers{3});
    }
}

// The limit applies to each phase. A phase one that it stops has found no feasible point.
TEST_F(Stops, ALimitReachedInPhaseOneEndsAsInfeasible) {
    Problem problem = box(3);
    problem.x0 = {-5, 9, -7};
    const Result result = solve(problem, {0, 1e-6, 1e-8});
    EXPECT_EQ(result.state, ASQP::Infeasible);
    EXPECT_EQ(lastSolveReport().phaseOneIterations, 1);
    EXPECT_EQ(result.lambda, Numbers(6, 0.0));
}

}  // namespace
}  // namespace activeset::test
