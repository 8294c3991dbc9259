// Failures inside LAPACK: their messages, that nothing is left behind, and that the next call
// works. Only the triangular and the least-squares solve can fail because of data. A failure of
// Cholesky is an outcome.
#include <gtest/gtest.h>

#include <algorithm>
#include <span>

#include "solve/examples.hpp"
#include "solve/recorder.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

/// A single row is zero, although products use the true matrix.
class RowlessConstraint : public LinearConstraint {
public:
    using LinearConstraint::LinearConstraint;
    void rowTo(ConstraintKind /*kind*/, size_t /*i*/, std::span<double> out) override {
        std::ranges::fill(out, 0.0);
    }
};

class LapackFaults : public FreshState {
protected:
    /// After the scope of the action everything must be as before.
    template <class Action>
    static void expectNoTraceOf(Action action) {
        const Result expected = solve(triangleFromOutside());
        const auto arrays = liveArrayCount();
        const auto blocks = liveBlockCount();
        {
            const CallScope scope;
            action();
        }
        EXPECT_EQ(utInterruptMode::depth(), 0);
        releaseMatrixPool();
        EXPECT_EQ(liveArrayCount(), arrays);
        EXPECT_EQ(liveBlockCount(), blocks);
        EXPECT_EQ(solve(triangleFromOutside()), expected) << "next call";
    }
};

TEST_F(LapackFaults, AZeroOnTheDiagonalOfRIsRaised) {
    expectNoTraceOf([] {
        const Problem problem = triangle();
        Bench bench(problem);
        RowlessConstraint constraint(array(problem.A), column(problem.b), array({}, 2), column({}),
                                     column(problem.lower()), column(problem.upper()));
        expectAssertion("Error calling DTRTRS from NullSpaceAS::_computeLambda", [&] {
            bench.solver(*bench.objective, constraint, column(problem.start()), bench.options,
                         nullptr, nullptr, nullptr);
        });
    });
}

// The second row repeats the first one, so that the factor has a zero on its diagonal.
TEST_F(LapackFaults, AStartThatTheLeastSquaresSolveCanNotMoveStaysAndIsReported) {
    expectNoTraceOf([] {
        Problem problem = triangle();
        problem.A = {{1, 0}, {0, 1}};
        problem.b = {2, 2};
        Bench bench(problem);
        bench.init({}, {1, 2});
        bench.solver.getAw().copyColumn(1, 0);
        OPTMatrix<double> x = columnMatrix({4.0, 5.0});
        EXPECT_FALSE(bench.solver.feasibleWorkingSetX0(x, bench.constraint));
        EXPECT_EQ(values(x), (Numbers{4.0, 5.0}));
    });
}

// LAPACK does not check for NaN. It reaches the result, wherever it enters.
TEST_F(LapackFaults, NaNInTheLeastSquaresSolveReachesTheResultAndNothingElse) {
    const Problem plain{.H = {{1, 0}, {0, 1}}, .c = {-3, 0}, .A = {{1, 1}}, .b = {1}};
    std::vector<Problem> problems(4, plain);
    problems[0].Aeq = {{1, NaN}};
    problems[0].beq = {1};
    problems[1].Aeq = {{1, 1}};
    problems[1].beq = {NaN};
    problems[2].x0 = {NaN, 0};
    problems[3].A = {{1, NaN}};
    problems[3].Wineq = {1};
    for (size_t k = 0; k < problems.size(); ++k) {
        SCOPED_TRACE("problem " + std::to_string(k));
        expectNoTraceOf([&] {
            const Result result = solve(problems[k]);
            EXPECT_EQ(result.state, ASQP::Optimal);
            EXPECT_TRUE(std::isnan(result.f));
        });
    }
}

}  // namespace
}  // namespace activeset::test
