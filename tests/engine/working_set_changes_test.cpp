// When a constraint enters or leaves, lists, matrix, message and change indicator all follow.
#include "engine/scripted_solver.hpp"

namespace activeset::test {
namespace {

class WorkingSetChanges : public FreshState {};

// Two equalities, five rows, lower bounds on variables 0 and 3, upper bounds on 1 and 2.
const Problem FourVariables{
    .H = {},
    .c = {1, 1, 1, 1},
    .A = {{1, 0, 0, 1}, {2, 0, 0, 2}, {3, 0, 0, 3}, {4, 0, 1, 4}, {5, 1, 0, 5}},
    .b = {1, 1, 1, 1, 1},
    .Aeq = {{0, 1, 1, 0}, {0, 1, -1, 0}},
    .beq = {0, 0},
    .lb = {0, -Inf, -Inf, 0},
    .ub = {Inf, 9, 9, Inf}};

// Constraint numbers: rows from 2, lower bounds from 7, upper bounds from 11.
TEST_F(WorkingSetChanges, AnAdditionGoesToTheEndOfItsListTheMatrixAndTheMessage) {
    Bench bench(FourVariables);
    ScriptedSolver solver;
    initialise(solver, bench, {.eq = {2}});
    TestAccess::add(solver, 6, 4, "ineq");
    EXPECT_EQ(TestAccess::message(solver), " In  ineq: 5");
    TestAccess::add(solver, 10, 1, "lower");
    EXPECT_EQ(TestAccess::message(solver), " In  lb: 4");
    EXPECT_EQ(rowsOf(solver.getnewActiveConstraint()), (Rows{{0, 0, 0, -1}}));
    TestAccess::add(solver, 13, 1, "upper");
    EXPECT_EQ(TestAccess::message(solver), " In  ub: 3");
    EXPECT_EQ(solver.getactivesetChangeIndicator(), IsolverAS::ConstraintAdded);
    EXPECT_EQ(workingSet(solver), (Indices{1, 6, 10, 13}));
    EXPECT_EQ(columnsOfAw(solver, 4),
              (Rows{{0, 1, -1, 0}, {5, 1, 0, 5}, {0, 0, 0, -1}, {0, 0, 1, 0}}));
    EXPECT_EQ(rowsOf(solver.getActiveSet().getWineqVxArray()), (Rows{{5}}));
    EXPECT_EQ(rowsOf(solver.getActiveSet().getWlowerVxArray()), (Rows{{4}}));
    EXPECT_EQ(rowsOf(solver.getActiveSet().getWupperVxArray()), (Rows{{3}}));
    expectRaises(MatrixFault, "Index exceed number of columns.",
                 [&] { TestAccess::add(solver, 2, 0, "ineq"); });
    EXPECT_EQ(workingSet(solver), (Indices{1, 6, 10, 13})) << "the set was full";
    EXPECT_EQ(ActiveSet::getmaIneq(), 1U);
}

TEST_F(WorkingSetChanges, TheLastMemberTakesTheRemovedOnesPlace) {
    Bench bench(FourVariables);
    ScriptedSolver solver;
    initialise(solver, bench);
    TestAccess::add(solver, 6, 4, "ineq");
    TestAccess::add(solver, 12, 0, "upper");
    TestAccess::add(solver, 7, 0, "lower");
    solver.removeConstraint(0);
    EXPECT_EQ(TestAccess::message(solver), " Out ineq: 5");
    EXPECT_EQ(solver.getactivesetChangeIndicator(), IsolverAS::ConstraintRemoved);
    EXPECT_EQ(workingSet(solver), (Indices{7, 12}));
    EXPECT_EQ(columnsOfAw(solver, 3), (Rows{{-1, 0, 0, 0}, {0, 1, 0, 0}, {-1, 0, 0, 0}}));
    solver.getAw()(3, 0) = 77;  // is lost if removing the last column copies a column
    solver.removeConstraint(1);
    EXPECT_EQ(TestAccess::message(solver), " Out ub: 2");
    EXPECT_EQ(columnsOfAw(solver, 1), (Rows{{-1, 0, 0, 77}}));
    solver.removeConstraint(0);
    EXPECT_EQ(TestAccess::message(solver), " Out lb: 1");
    EXPECT_EQ(ActiveSet::getmaIneq() + ActiveSet::getmaLB() + ActiveSet::getmaUB(), 0U);
}

TEST_F(WorkingSetChanges, WhatIsNotInItsListCanNotLeaveAndNothingChanges) {
    Bench bench(FourVariables);
    const Lists lists{.eq = {1}, .ineq = {3}, .lower = {4}, .upper = {2}};
    const struct {
        size_t position;
        const char* what;
        size_t* (ActiveSet::*list)() const noexcept;  // overwritten, so that the entry is missing
    } cases[] = {{0, "upper bound", nullptr},         // an equality
                 {1, "inequality", &ActiveSet::getWineq},
                 {2, "lower bound", &ActiveSet::getWlower},
                 {3, "upper bound", &ActiveSet::getWupper},
                 {4, "upper bound", nullptr}};  // beyond the working set
    for (const auto& c : cases) {
        ScriptedSolver solver;
        initialise(solver, bench, lists);
        if (c.list != nullptr) {
            (solver.getActiveSet().*c.list)()[0] = 0;
        }
        const Indices set = workingSet(solver);
        const Rows columns = columnsOfAw(solver, 4);
        expectRaises("optim:src:activesetqp:elementNotFound",
                     "Expected " + std::string(c.what) + " was not found in the active list.",
                     [&] { solver.removeConstraint(c.position); });
        EXPECT_EQ(workingSet(solver), set);
        EXPECT_EQ(columnsOfAw(solver, 4), columns);
        EXPECT_EQ(ActiveSet::getmaEq() * 1000 + ActiveSet::getmaIneq() * 100 +
                      ActiveSet::getmaLB() * 10 + ActiveSet::getmaUB(),
                  1111U);
        EXPECT_EQ(solver.getactivesetChangeIndicator(), IsolverAS::NoIncrementalChange);
        EXPECT_EQ(TestAccess::message(solver), "");
    }
}

}  // namespace
}  // namespace activeset::test
