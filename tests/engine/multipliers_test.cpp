// The most negative multiplier, and the way from working-set order to constraint numbers.
#include "engine/scripted_solver.hpp"

namespace activeset::test {
namespace {

class Multipliers : public FreshState {};

TEST_F(Multipliers, ThoseOfFixedVariablesGoToABoundWithoutTheFixedOffset) {
    // Four variables, two fixed: numbers of lower bounds start at 2, yet the multipliers of the
    // fixed variables 0 and 1 belong at 0 and 1 (lower side) or 4 and 5 (upper side).
    Bench bench({.H = {}, .c = {1, 1, 1, 1}, .lb = {0, 0, 0, 0}});
    FixedRows constraint(bench.constraint, {{1, 0, 0, 0}, {0, 1, 0, 0}}, {0, 0});
    const struct {
        std::vector<double> side, expected;
    } cases[] = {{{0.0, 5.0}, {-10, -20, 0, 30, 0, 0, 0, 0}},
                 {{-2.0, 3.0}, {0, -20, 0, 30, 10, 0, 0, 0}},
                 {{1.0, -1e-300}, {-10, 0, 0, 30, 0, 20, 0, 0}},
                 {{-0.0, NaN}, {-10, 0, 0, 30, 0, 20, 0, 0}}};
    for (const auto& c : cases) {
        ScriptedSolver solver;
        initialise(solver, *bench.objective, constraint, bench.options, {0, 0, 0, 0},
                   {.fixed = {1, 2}, .lower = {2}});
        for (size_t k = 0; k < 4; ++k) {
            solver.getLambda()(k, 0) = 10.0 * static_cast<double>(k + 1);  // the 40 is nobody's
        }
        OPTMatrix<double> side = columnMatrix({c.side[0], c.side[1], 0, 0});
        solver.setLambdaForAllConstraints(side);
        EXPECT_EQ(values(solver.getLambda()), c.expected);
    }
}

TEST_F(Multipliers, OnlyStrictlyNegativeOnesOfRemovableConstraintsNameAPosition) {
    Bench bench(
        {.H = {}, .c = {1, 1, 1, 1}, .Aeq = {{1, 1, 1, 1}}, .beq = {0}, .lb = {0, 0, 0, 0}});
    const struct {
        const char* name;
        std::vector<double> lambda;
        size_t departing;
    } cases[] = {{"smallest in the middle", {-9, -1, -2, -1}, 2},
                 {"ties keep the first", {0, 1, -2, -2}, 2},
                 {"smallest last", {0, -1, -2, -3}, 3},
                 {"smallest first", {0, -4, -2, -3}, 1},
                 {"equality alone is negative", {-9, 0, 1, 1}, NoIndex},
                 {"zeros", {1, 0, -0.0, 0}, NoIndex},
                 {"no tolerance", {0, 0, 0, -1e-300}, 3},
                 {"NaN in front hides the rest", {0, NaN, -1, -1}, NoIndex},
                 {"NaN behind is passed over", {0, 1, NaN, -1}, 3}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ScriptedSolver solver;
        initialise(solver, bench, {.eq = {1}, .lower = {1, 2, 3}});
        for (size_t k = 0; k < 4; ++k) {
            solver.getLambda()(k, 0) = c.lambda[k];
        }
        solver.getLambda()(4, 0) = -99;  // behind the working set
        EXPECT_EQ(solver._isLambdaNonNeg(), c.departing == NoIndex ? 1 : 0);
        EXPECT_EQ(solver.indexOfDepartingConstraint(), c.departing);
    }
}

}  // namespace
}  // namespace activeset::test
