// The initial lists of a solve, and which of their entries leave as dependent.
#include <cmath>
#include <optional>

#include "engine/scripted_solver.hpp"

namespace activeset::test {
namespace {

class InitialWorkingSet : public FreshState {};

TEST_F(InitialWorkingSet, WhatIsTooMuchIsDroppedFromTheEndUpperBoundsFirst) {
    using Counts = std::vector<size_t>;  // fixed, eq, ineq, lower, upper; there are three variables
    const std::pair<Counts, Counts> cases[] = {{{0, 0, 1, 1, 1}, {0, 0, 1, 1, 1}},
                                               {{0, 1, 1, 1, 1}, {0, 1, 1, 1, 0}},
                                               {{0, 2, 2, 1, 0}, {0, 2, 1, 0, 0}},
                                               {{0, 0, 1, 4, 0}, {0, 0, 1, 2, 0}},
                                               {{2, 3, 1, 0, 1}, {2, 3, 0, 0, 0}}};
    OPTsizes::setnVar(3);
    for (const auto& [before, after] : cases) {
        std::optional<NullSpaceAS> solver(std::in_place);
        std::vector<vxArray*> arrays;
        for (const size_t count : before) {
            arrays.push_back(column(std::vector<double>(count, 6)));
        }
        TestAccess::setLists(*solver, arrays);
        TestAccess::resizeLists(*solver);
        const auto lists = TestAccess::lists(*solver);
        for (size_t k = 0; k < 5; ++k) {
            EXPECT_EQ(vxGetM(lists[k].get()), after[k]) << "list " << k;
        }
        solver.reset();
        for (size_t k = 0; k < 5; ++k) {  // other owners of the lists still see their full length
            EXPECT_EQ(vxGetM(lists[k].get()), before[k]) << "list " << k;
        }
    }
}

TEST_F(InitialWorkingSet, InequalitiesThatDependOnTheRestLeaveAndEqualitiesStay) {
    // The equality is e0; the rows are 2·e0, e1, 3·e1, e1, e2; only variable 1 has a lower bound.
    Bench bench({.H = {},
                 .c = {1, 1, 1, 1},
                 .A = {{2, 0, 0, 0}, {0, 1, 0, 0}, {0, 3, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}},
                 .b = {0, 0, 0, 0, 0},
                 .Aeq = {{1, 0, 0, 0}},
                 .beq = {0},
                 .lb = {-Inf, 0, -Inf, -Inf},
                 .ub = {Inf, Inf, Inf, 1}});
    const struct {
        const char* name;
        Lists lists;
        Indices expected;  // constraint numbers: one equality, rows from 1, lower bounds from 6
    } cases[] = {
        {"independent", {.eq = {1}, .ineq = {2, 5}, .upper = {4}}, {0, 2, 5, 13}},
        {"longer than the equality", {.eq = {1}, .ineq = {1}}, {0}},
        {"first and last of three depend", {.ineq = {2, 3, 4}}, {3}},
        {"first depends, the last moves", {.ineq = {2, 3, 5}}, {5, 3}},
        {"tie keeps the first", {.ineq = {4, 5}, .lower = {2}}, {4, 5}},
        // The missing bound gets no column. The last column stays empty and stands for the upper
        // bound.
        {"missing bound", {.lower = {3}, .upper = {4}}, {8}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        initialise(bench.solver, bench, c.lists);
        TestAccess::makeIndependent(bench.solver);
        EXPECT_EQ(workingSet(bench.solver), c.expected);
        EXPECT_TRUE(bench.solver.isInitialized());
    }
}

TEST_F(InitialWorkingSet, TheRankReportHasItsGoldenText) {
    Bench bench({.H = {}, .c = {1, 1}, .A = {{0, 0}, {1, 0}}, .b = {0, 0}});
    initialise(bench.solver, bench, {.ineq = {2, 1}});
    bench.solver.initializeFactorization();
    const CapturedOutput output;
    EXPECT_EQ(TestAccess::reportRank(bench.solver), 1);
    EXPECT_EQ(output.text(), golden("listing_rank.txt"));
}

TEST_F(InitialWorkingSet, EqualitiesPivotedLastLeaveUnlessTheyDisagree) {
    constexpr double Tol = 200 * Eps;  // for two variables
    const double below = std::nextafter(Tol, 0);
    const struct {
        const char* name;
        Rows Aeq;
        std::vector<double> beq;
        std::int64_t removed;
        std::vector<double> keptEq;
    } cases[] = {
        {"independent", {{1, 0}, {1, 1}}, {1, 2}, 0, {1, 2}},
        {"equal rows, different right sides", {{1, 1}, {1, 1}}, {2, 3}, -1, {}},
        {"the longer row stays", {{1, 1}, {2, 2}}, {2, 4}, 1, {2}},
        {"the middle row depends", {{2, 0}, {1, 0}, {0, 2}}, {2, 1, 2}, 1, {1, 3}},
        {"more rows than variables", {{1, 0}, {3, 0}, {0, 1}, {2, 0}}, {1, 3, 5, 2}, 2, {2, 3}},
        {"more rows, one disagrees", {{1, 0}, {3, 0}, {0, 1}, {2, 0}}, {1, 3, 5, 3}, -1, {}},
        {"diagonal of just the tolerance", {{1, 0}, {0, Tol}}, {1, 9}, 0, {1, 2}},
        {"diagonal below it", {{1, 0}, {0, below}}, {1, 0}, 1, {1}},
        {"right side below it", {{1, 0}, {0, 0}}, {1, below}, 1, {1}},
        {"right side of just it", {{1, 0}, {0, 0}}, {1, Tol}, -1, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Bench bench({.H = {}, .c = {1, 1}, .Aeq = c.Aeq, .beq = c.beq});
        EXPECT_EQ(TestAccess::removeDependentEq(bench.solver, bench.constraint), c.removed);
        EXPECT_EQ(values(TestAccess::lists(bench.solver)[1].get()), c.keptEq);
        EXPECT_EQ(ActiveSet::getmaEq(), c.keptEq.size());
    }
}

}  // namespace
}  // namespace activeset::test
