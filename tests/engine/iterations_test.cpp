// The iteration loop: the order of its passes and the states in which it ends.
#include <cmath>

#include "engine/scripted_solver.hpp"

namespace activeset::test {
namespace {

class IterationLoop : public FreshState {
protected:
    struct Outcome {
        ASQP::SolutionState state;
        const char* message;
    };
    static constexpr Outcome Found{ASQP::Optimal, " Optimal solution found"};
    static constexpr Outcome Free{ASQP::Optimal, " Optimal solution found; No active constraints"};
    static constexpr Outcome Unbounded{ASQP::Unbounded, " Unbounded"};
    static constexpr Outcome IllPosed{ASQP::IllPosed, " Unbounded"};
    static constexpr double TolX = 0x1p-30;

    /// What a loop over two variables takes from its script, and how it has to end.
    struct Run {
        const char* name;
        bool isQuadratic;
        Lists active;
        Rows directions, multipliers;
        Outcome outcome;
        int passes;
        std::vector<double> x, lambda;
        Indices set;
    };

    // Constraint 0 is x1 ≤ 10, constraints 1 and 2 are the bounds −1 ≤ x.
    static void expectRun(const Run& run) {
        SCOPED_TRACE(run.name);
        Bench bench({.H = run.isQuadratic ? Rows{{1, 0}, {0, 1}} : Rows{},
                     .c = {1, 1},
                     .A = {{0, 1}},
                     .b = {10},
                     .lb = {-1, -1}});
        bench.options.setTolX(TolX);
        ScriptedSolver solver;
        initialise(solver, bench, run.active);
        solver.directions = run.directions;
        solver.script = run.multipliers;
        solver.ASiterations();
        ASsolution& solution = solver.getSolution();
        EXPECT_EQ(solution.getSolutoinState(), run.outcome.state);
        EXPECT_EQ(TestAccess::message(solver), run.outcome.message);
        EXPECT_EQ(solver._getCurrentIter(), run.passes);
        EXPECT_EQ(values(solution.getxstar()), run.x);
        EXPECT_EQ(values(solution.getlambda()), run.lambda);
        EXPECT_EQ(values(solution.getfstar()), values(bench.objective->fval(solution.xstarRef())));
        EXPECT_EQ(workingSet(solver), run.set);
        EXPECT_EQ(solver.directionCalls, run.directions.size());
        EXPECT_EQ(solver.multiplierCalls, run.multipliers.size());
        EXPECT_EQ(solver.modeSeen, 0);
        if (run.directions.size() > 1) {
            EXPECT_EQ(solver.poolSeen, 0U) << "a pass gives the temporaries back";
        }
    }

    const Lists row{.ineq = {1}};
    const std::vector<double> one{1, 0, 0, 0, 0};
    const std::vector<double> zero = std::vector<double>(5);
};

TEST_F(IterationLoop, DirectionsAndMultipliersAlternate) {
    expectRun({"at the optimum", true, row, {{0, 0}}, {{0}}, Found, 1, {0, 0}, zero, {0}});
    // The first of two equal multipliers leaves; one of zero does not.
    const Lists both{.lower = {1, 2}};
    expectRun({"full steps",
               true,
               both,
               {{.5, .25}, {0, 0}},
               {{-1, -1}, {0}},
               Found,
               3,
               {.5, .25},
               zero,
               {2}});
    expectRun({"blocked twice",
               true,
               {},
               {{-2, 0}, {0, -4}, {0, 0}},
               {{3, 7}},
               Found,
               3,
               {-1, -1},
               {0, 3, 7, 0, 0},
               {1, 2}});
    expectRun({"as long as TolX", true, row, {{TolX, 0}}, {{1}}, Found, 2, {TolX, 0}, one, {0}});
    const double less = std::nextafter(TolX, 0);
    expectRun({"shorter than TolX", true, row, {{less, 0}}, {{1}}, Found, 1, {0, 0}, one, {0}});
}

TEST_F(IterationLoop, AFullStepWithNothingActiveEndsIt) {
    expectRun({"QP", true, {}, {{2, 1}}, {}, Free, 1, {2, 1}, zero, {}});
    expectRun({"LP", false, {}, {{2, 0}}, {}, Free, 1, {2e30, 0}, zero, {}});
}

TEST_F(IterationLoop, AnUnblockedLinearObjectiveIsUnboundedOrIllPosedByTheLengthOfTheDirection) {
    constexpr double ErrorNorm = 200 * 0x1p-26;
    const double more = std::nextafter(ErrorNorm, 1);
    const std::vector<double> far{more * 1e30, 0};
    expectRun({"longer", false, row, {{more, 0}}, {}, Unbounded, 1, far, zero, {0}});
    const std::vector<double> end{ErrorNorm * 1e30, 0};
    expectRun({"as long", false, row, {{ErrorNorm, 0}}, {}, IllPosed, 1, end, zero, {0}});
}

}  // namespace
}  // namespace activeset::test
