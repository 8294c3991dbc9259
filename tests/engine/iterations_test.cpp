// The iteration loop: the order of its passes and the states in which it ends.
#include <cmath>

#include "engine/scripted_solver.hpp"

namespace activeset::test {
namespace {

class IterationLoop : public FreshState {};

TEST_F(IterationLoop, DirectionsAndMultipliersAlternateUntilTheOutcomeIsDecided) {
    constexpr double TolX = 0x1p-30;
    constexpr double ErrorNorm = 200 * 0x1p-26;
    struct Outcome {
        ASQP::SolutionState state;
        const char* message;
    };
    const auto expectRun = [&](const char* name, bool isQuadratic, const Lists& active,
                               const Rows& directions, const Rows& multipliers,
                               const Outcome& outcome, int passes, const std::vector<double>& x,
                               const std::vector<double>& lambda, const Indices& set) {
        SCOPED_TRACE(name);
        // Constraint 0 is x1 ≤ 10, constraints 1 and 2 are the bounds −1 ≤ x.
        Bench bench({.H = isQuadratic ? Rows{{1, 0}, {0, 1}} : Rows{},
                     .c = {1, 1},
                     .A = {{0, 1}},
                     .b = {10},
                     .lb = {-1, -1}});
        bench.options.setTolX(TolX);
        ScriptedSolver solver;
        initialise(solver, bench, active);
        solver.directions = directions;
        solver.script = multipliers;
        solver.ASiterations();
        ASsolution& solution = solver.getSolution();
        EXPECT_EQ(solution.getSolutoinState(), outcome.state);
        EXPECT_EQ(TestAccess::message(solver), outcome.message);
        EXPECT_EQ(solver._getCurrentIter(), passes);
        EXPECT_EQ(values(solution.getxstar()), x);
        EXPECT_EQ(values(solution.getlambda()), lambda);
        EXPECT_EQ(values(solution.getfstar()), values(bench.objective->fval(solution.xstarRef())));
        EXPECT_EQ(workingSet(solver), set);
        EXPECT_EQ(solver.directionCalls, directions.size());
        EXPECT_EQ(solver.multiplierCalls, multipliers.size());
        EXPECT_EQ(solver.modeSeen, 0);
        if (directions.size() > 1) {
            EXPECT_EQ(solver.poolSeen, 0U) << "a pass gives the temporaries back";
        }
    };
    const Outcome found{ASQP::Optimal, " Optimal solution found"};
    const Outcome free{ASQP::Optimal, " Optimal solution found; No active constraints"};
    const Outcome unbounded{ASQP::Unbounded, " Unbounded"};
    const Outcome illPosed{ASQP::IllPosed, " Unbounded"};
    const Lists row{.ineq = {1}};
    const std::vector<double> one{1, 0, 0, 0, 0};
    const std::vector<double> zero(5);
    expectRun("at the optimum", true, row, {{0, 0}}, {{0}}, found, 1, {0, 0}, zero, {0});
    // The first of two equal multipliers leaves; one of zero does not.
    expectRun("full steps", true, {.lower = {1, 2}}, {{.5, .25}, {0, 0}}, {{-1, -1}, {0}}, found, 3,
              {.5, .25}, zero, {2});
    expectRun("blocked twice", true, {}, {{-2, 0}, {0, -4}, {0, 0}}, {{3, 7}}, found, 3, {-1, -1},
              {0, 3, 7, 0, 0}, {1, 2});
    expectRun("as long as TolX", true, row, {{TolX, 0}}, {{1}}, found, 2, {TolX, 0}, one, {0});
    const double shorter = std::nextafter(TolX, 0);
    expectRun("shorter than TolX", true, row, {{shorter, 0}}, {{1}}, found, 1, {0, 0}, one, {0});
    expectRun("QP, nothing active", true, {}, {{2, 1}}, {}, free, 1, {2, 1}, zero, {});
    expectRun("LP, nothing active", false, {}, {{2, 0}}, {}, free, 1, {2e30, 0}, zero, {});
    const double longer = std::nextafter(ErrorNorm, 1);
    expectRun("LP", false, row, {{longer, 0}}, {}, unbounded, 1, {longer * 1e30, 0}, zero, {0});
    expectRun("LP", false, row, {{ErrorNorm, 0}}, {}, illPosed, 1, {ErrorNorm * 1e30, 0}, zero,
              {0});
}

}  // namespace
}  // namespace activeset::test
