// The lists that a solve starts with, their right-hand sides, and what leaves as dependent.
#include "engine/scripted_solver.hpp"
#include "support/golden.hpp"

namespace activeset::test {
namespace {

class InitialWorkingSet : public FreshState {};

TEST_F(InitialWorkingSet, ListsOfEqualityTypeLeaveOutTheRemovedNumbers) {
    const Indices removed{5, 1};  // of three equalities and two fixed variables, counted together
    const struct {
        const Indices* removed;
        size_t maFixed, maEq;
        std::vector<double> fixed, eq;
    } cases[] = {
        {nullptr, 2, 3, {1, 2}, {1, 2, 3}}, {&removed, 1, 2, {1}, {2, 3}}, {nullptr, 0, 0, {}, {}}};
    OPTsizes::setmEq(3);
    OPTsizes::setmFixed(2);
    for (const auto& c : cases) {
        NullSpaceAS solver;
        ActiveSet::setmaFixed(c.maFixed);
        ActiveSet::setmaEq(c.maEq);
        TestAccess::createLists(solver, c.removed);
        EXPECT_EQ(values(TestAccess::lists(solver)[0].get()), c.fixed);
        EXPECT_EQ(values(TestAccess::lists(solver)[1].get()), c.eq);
    }
}

TEST_F(InitialWorkingSet, WhatIsTooMuchIsDroppedFromTheEndUpperBoundsFirst) {
    using Counts = std::vector<size_t>;  // fixed, eq, ineq, lower, upper; three variables
    const struct {
        Counts before, after;
    } cases[] = {{{0, 0, 1, 1, 1}, {0, 0, 1, 1, 1}}, {{0, 1, 1, 1, 1}, {0, 1, 1, 1, 0}},
                 {{0, 1, 2, 1, 1}, {0, 1, 2, 0, 0}}, {{0, 2, 2, 1, 0}, {0, 2, 1, 0, 0}},
                 {{0, 0, 0, 0, 5}, {0, 0, 0, 0, 3}}, {{0, 0, 1, 4, 0}, {0, 0, 1, 2, 0}},
                 {{1, 2, 1, 1, 1}, {1, 2, 0, 0, 0}}, {{2, 3, 1, 0, 1}, {2, 3, 0, 0, 0}}};
    OPTsizes::setnVar(3);
    for (const auto& c : cases) {
        const auto expectCounts = [](const auto& lists, const Counts& counts) {
            for (size_t k = 0; k < 5; ++k) {
                EXPECT_EQ(vxGetM(lists[k].get()), counts[k]) << "list " << k;
            }
        };
        std::vector<std::shared_ptr<vxArray>> lists;
        {
            NullSpaceAS solver;
            std::vector<vxArray*> arrays;
            for (const size_t count : c.before) {
                arrays.push_back(column(std::vector<double>(count, 6)));
            }
            TestAccess::setLists(solver, arrays);
            TestAccess::resizeLists(solver);
            lists = TestAccess::lists(solver);
            expectCounts(lists, c.after);
        }
        expectCounts(lists, c.before);  // who shares them finds them as long as they were
    }
}

TEST_F(InitialWorkingSet, RightHandSidesFollowTheWorkingSetWithoutMissingBounds) {
    Bench bench({.H = {},
                 .c = std::vector<double>(7, 1),
                 .A = {std::vector<double>(7, 1), std::vector<double>(7, 2)},
                 .b = {31, 32},
                 .Aeq = {std::vector<double>(7, 3), std::vector<double>(7, 4)},
                 .beq = {21, 22},
                 .lb = {-Inf, 41, 42, -Inf, -Inf, -Inf, -Inf},
                 .ub = {Inf, Inf, 52, Inf, 54, Inf, Inf}});
    FixedRows constraint(bench.constraint, {std::vector<double>(7, 5)}, {11});
    initialise(bench.solver, *bench.objective, constraint, bench.options, std::vector<double>(7),
               {.fixed = {1}, .eq = {2}, .ineq = {2, 1}, .lower = {7, 3}, .upper = {5}});
    OPTMatrix<double> bw(7, 1);
    bw.fill(-1);
    TestAccess::createbw(bench.solver, bw, constraint);
    EXPECT_EQ(values(bw), (std::vector<double>{11, 22, 32, 31, -42, 54, -1}));
}

TEST_F(InitialWorkingSet, CopiesShareTheListsAndAreDestroyedInAnyOrder) {
    Bench bench({.H = {{1}}, .c = {-1}, .lb = {0}, .ub = {4}, .Wlower = {1}, .Wupper = {1}});
    static_cast<void>(bench.solve());
    auto first = std::make_unique<NullSpaceAS>(bench.solver);
    NullSpaceAS second;
    {
        Bench other({.H = {{1, 0}, {0, 1}}, .c = {1, 1}, .lb = {-1, -1}});
        static_cast<void>(other.solve());
        second = other.solver;
    }
    second = *first;  // of another size
    EXPECT_EQ(TestAccess::lists(second)[4], TestAccess::lists(bench.solver)[4]);
    EXPECT_EQ(vxGetM(TestAccess::lists(second)[4].get()), 0U);
    EXPECT_EQ(values(second.getQ()), values(bench.solver.getQ()));
    EXPECT_EQ(values(second.getSolution().getxstar()), (std::vector<double>{1}));
    first.reset();
    EXPECT_EQ(vxGetM(TestAccess::lists(second)[4].get()), 1U) << "as long as it was";
}

struct Dependence {
    const char* name;
    Lists lists;
    Indices expected;  // numbers; one equality, rows from 1, lower bounds from 6
};

TEST_F(InitialWorkingSet, InequalitiesThatDependOnTheRestLeaveAndEqualitiesStay) {
    // The equality is e0; rows are 2·e0, e1, 3·e1, e1, e2; the only lower bound is on variable 1.
    Bench bench({.H = {},
                 .c = {1, 1, 1, 1},
                 .A = {{2, 0, 0, 0}, {0, 1, 0, 0}, {0, 3, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}},
                 .b = {0, 0, 0, 0, 0},
                 .Aeq = {{1, 0, 0, 0}},
                 .beq = {0},
                 .lb = {-Inf, 0, -Inf, -Inf},
                 .ub = {Inf, Inf, Inf, 1}});
    const Dependence cases[] = {
        {"equality alone", {.eq = {1}}, {0}},
        {"independent", {.eq = {1}, .ineq = {2, 5}, .upper = {4}}, {0, 2, 5, 13}},
        {"longer than the equality", {.eq = {1}, .ineq = {1}}, {0}},
        {"without the equality", {.ineq = {1}}, {1}},
        {"first and last of three depend", {.ineq = {2, 3, 4}}, {3}},
        {"first depends, the last moves", {.ineq = {2, 3, 5}}, {5, 3}},
        {"tie keeps the first", {.ineq = {4, 5}, .lower = {2}}, {4, 5}},
        // The missing bound has no column: the last column, left empty, stands for the upper one.
        {"missing bound", {.lower = {3}, .upper = {4}}, {8}},
    };
    for (const Dependence& c : cases) {
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

}  // namespace
}  // namespace activeset::test
