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
    Bench bench({.H = {},
                 .c = std::vector<double>(5, 1.0),
                 .A = {{1, 2, 3, 4, 5}, {6, 7, 8, 9, 8}},
                 .b = {0, 0},
                 .Aeq = {{5, 4, 3, 2, 1}},
                 .beq = {0},
                 .lb = {-Inf, -Inf, 0, -Inf, 0},
                 .ub = {Inf, 9, Inf, Inf, Inf}});
    FixedRows constraint(bench.constraint, {{0, 0, 0, 7, 0}}, {1});
    ScriptedSolver solver;
    initialise(solver, *bench.objective, constraint, bench.options, {0, 0, 0, 0, 0},
               {.fixed = {1}, .eq = {1}, .ineq = {2}, .lower = {5}, .upper = {2}});
    EXPECT_EQ(
        columnsOfAw(solver, 5),
        (Rows{
            {0, 0, 0, 7, 0}, {5, 4, 3, 2, 1}, {6, 7, 8, 9, 8}, {0, 0, 0, 0, -1}, {0, 1, 0, 0, 0}}));
}

TEST_F(SolverSetup, ABoundThatDoesNotExistLeavesItsColumnToTheNext) {
    Bench bench(ThreeVariables);
    ScriptedSolver solver;
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

TEST_F(SolverSetup, AMissingObjectiveIsToldBeforeAMissingConstraint) {
    Bench bench(ThreeVariables);
    ScriptedSolver solver;
    OPTMatrix<double> x = columnMatrix({0, 0, 0});
    const auto init = [&](IoptObjective* objective, IoptConstraint* constraint) {
        solver.init(objective, constraint, &bench.options, x, nullptr, nullptr, nullptr, nullptr,
                    nullptr);
    };
    const auto expectNull = [&](const char* what, auto action) {
        expectRaises("optim:src:activesetqp:problemNullPointer",
                     std::string(what) + " is a NULL pointer.", action);
    };
    expectNull("objective", [&] { init(nullptr, nullptr); });
    expectNull("constraint", [&] { init(bench.objective.get(), nullptr); });
    init(bench.objective.get(), &bench.constraint);
    expectNull("objective", [&] { init(nullptr, &bench.constraint); });
    EXPECT_EQ(solver.getObjective(), nullptr) << "a null replaces a stored objective";
}

TEST_F(SolverSetup, StepsThatAskTheObjectiveTellWhenThereIsNone) {
    NullSpaceAS solver;
    OPTMatrix<double> p = columnMatrix({});
    const auto expectNoObjective = [](auto action) {
        expectRaises("optim:src:activesetqp:problemNullPointer", "objective is a NULL pointer.",
                     action);
    };
    double alpha = 1.0;
    expectNoObjective([&] { static_cast<void>(solver._unboundedOrIllPosed(p, alpha)); });
    solver.initializeFactorization();
    expectNoObjective([&] { solver.getSearchDirection(p, p); });
}

TEST_F(SolverSetup, AnotherInitLeavesNothingOfAProblemOfAnotherSize) {
    ScriptedSolver solver;
    {
        Bench bench(ThreeVariables);
        initialise(solver, *bench.objective, bench.constraint, bench.options, {1, 2, 3},
                   {.eq = {1}, .ineq = {1}});
        EXPECT_EQ(values(solver.getSolution().getfstar()), (std::vector<double>{14 + 6}));
        EXPECT_EQ(solver.getLambda().getRows(), 8U);  // 1 + 1 + 2·3
        solver.getLambda().fill(9);
        TestAccess::message(solver) = "stale";
        solver._setCurrentIter(4);
    }
    Bench bench({.H = {{2, 0}, {0, 2}}, .c = {0, 0}});
    initialise(solver, *bench.objective, bench.constraint, bench.options, {3, 0});
    EXPECT_EQ(rowsOf(solver.getAw()), (Rows{{0, 0}, {0, 0}}));
    EXPECT_EQ(rowsOf(solver.getnewActiveConstraint()), (Rows{{0, 0}}));
    EXPECT_EQ(values(solver.getLambda()), std::vector<double>(4));
    EXPECT_EQ(values(solver.getSolution().getxstar()), (std::vector<double>{3, 0}));
    EXPECT_EQ(values(solver.getSolution().getfstar()), (std::vector<double>{9}));
    EXPECT_EQ(solver.getSolution().getSolutoinState(), ASQP::Initialized);
    EXPECT_EQ(TestAccess::message(solver), "");
    EXPECT_EQ(solver._getCurrentIter(), 0);
    solver.resetIsolverAS();
    EXPECT_EQ(solver.getSolution().getSolutoinState(), ASQP::Undecided);
    EXPECT_EQ(solver.getAw().size() + solver.getLambda().size(), 0U);
}

}  // namespace
}  // namespace activeset::test
