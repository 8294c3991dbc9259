// The choice of the most negative multiplier.
#include "engine/scripted_solver.hpp"

namespace activeset::test {
namespace {

class Multipliers : public FreshState {};

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
                 {"equality alone is negative", {-9, 0, 1, 1}, NoIndex},
                 {"no tolerance", {0, 0, 0, -1e-300}, 3},
                 {"NaN in front hides the rest", {0, NaN, -1, -1}, 1},
                 {"a later NaN is skipped", {0, 1, NaN, -1}, 3}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ScriptedSolver solver;
        initialise(solver, bench, {.eq = {1}, .lower = {1, 2, 3}});
        for (size_t k = 0; k < 4; ++k) {
            solver.getLambda()(k, 0) = c.lambda[k];
        }
        solver.getLambda()(4, 0) = -99;  // beyond the working set
        EXPECT_EQ(solver._isLambdaNonNeg(), c.departing == NoIndex ? 1 : 0);
        EXPECT_EQ(solver.indexOfDepartingConstraint(), c.departing);
    }
}

}  // namespace
}  // namespace activeset::test
