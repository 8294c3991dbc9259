// Binding a problem and a working set to a solver.
#include "engine/scripted_solver.hpp"

namespace activeset::test {
namespace {

class SolverSetup : public FreshState {};

const Problem ThreeVariables{.H = {{2, 0, 0}, {0, 2, 0}, {0, 0, 2}},
                             .c = {1, 1, 1},
                             .A = {{4, 5, 6}},
                             .b = {7},
                             .Aeq = {{1, 2, 3}},
                             .beq = {6},
                             .lb = {0, -Inf, 0},
                             .ub = {Inf, 5, Inf}};

TEST_F(SolverSetup, ColumnsOfTheWorkingSetMatrixRunByKindWithTheSignsOfTheRows) {
    Bench bench(ThreeVariables);
    ScriptedSolver solver;
    initialise(solver, bench, {.eq = {1}, .ineq = {1}, .upper = {2}});
    EXPECT_EQ(columnsOfAw(solver, 3), (Rows{{1, 2, 3}, {4, 5, 6}, {0, 1, 0}}));
    // A bound that does not exist gets no column; the next bound uses it.
    initialise(solver, bench, {.lower = {2, 3}, .upper = {2}});
    EXPECT_EQ(columnsOfAw(solver, 3), (Rows{{0, 0, -1}, {0, 1, 0}, {0, 0, 0}}));
}

TEST_F(SolverSetup, AsManyActiveConstraintsAsVariablesAreAcceptedAndNoMore) {
    Bench bench(ThreeVariables);
    ScriptedSolver solver;
    initialise(solver, bench, {.eq = {1}, .lower = {1, 3}});
    EXPECT_EQ(workingSet(solver), (Indices{0, 2, 4}));
    expectRaises("optim:src:activesetqp:ActiveConstraintSizeError",
                 "Number of active constraints must be less than number of variables.", [&] {
                     initialise(solver, bench, {.eq = {1}, .ineq = {1}, .lower = {1, 3}});
                 });
}

TEST_F(SolverSetup, AnotherInitLeavesNothingOfAProblemOfAnotherSize) {
    ScriptedSolver solver;
    {
        Bench bench(ThreeVariables);
        initialise(solver, bench, {.eq = {1}, .ineq = {1}}, {1, 2, 3});
        EXPECT_EQ(values(solver.getSolution().getfstar()), (std::vector<double>{14 + 6}));
        EXPECT_EQ(solver.getLambda().getRows(), 8U);  // 1 + 1 + 2·3
        solver.getLambda().fill(9);
        TestAccess::note(solver) = activeset::PassMessage(activeset::PassMessage::Event::Start);
        solver._setCurrentIter(4);
    }
    Bench bench({.H = {{2, 0}, {0, 2}}, .c = {0, 0}});
    initialise(solver, bench, {}, {3, 0});
    EXPECT_EQ(rowsOf(solver.getAw()), (Rows{{0, 0}, {0, 0}}));
    EXPECT_EQ(values(solver.getLambda()), std::vector<double>(4));
    EXPECT_EQ(values(solver.getSolution().getxstar()), (std::vector<double>{3, 0}));
    EXPECT_EQ(values(solver.getSolution().getfstar()), (std::vector<double>{9}));
    EXPECT_EQ(solver.getSolution().getSolutoinState(), ASQP::Initialized);
    EXPECT_EQ(TestAccess::message(solver), "");
    EXPECT_EQ(solver._getCurrentIter(), 0);
}

}  // namespace
}  // namespace activeset::test
