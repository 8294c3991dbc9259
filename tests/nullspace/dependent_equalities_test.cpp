// Which equalities and fixed variables leave because they depend on others, and whether they agree.
#include <cmath>

#include "engine/scripted_solver.hpp"

namespace activeset::test {
namespace {

class DependentEqualities : public FreshState {};

struct Case {
    const char* name;
    Rows Aeq;
    std::vector<double> beq;
    std::int64_t removed;
    std::vector<double> keptEq;
    Rows fixed{};
    std::vector<double> fixedRhs{};
    std::vector<double> keptFixed{};
};

TEST_F(DependentEqualities, TheOnesPivotedLastLeaveUnlessTheyDisagree) {
    constexpr double Tol = 200 * Eps;  // two variables
    const double below = std::nextafter(Tol, 0);
    const Case cases[] = {
        {"none", {}, {}, 0, {}},
        {"independent", {{1, 0}, {1, 1}}, {1, 2}, 0, {1, 2}},
        {"equal rows", {{1, 1}, {1, 1}}, {2, 2}, 1, {1}},
        {"equal rows, different right sides", {{1, 1}, {1, 1}}, {2, 3}, -1, {}},
        {"the longer row stays", {{1, 1}, {2, 2}}, {2, 4}, 1, {2}},
        {"the middle row depends", {{2, 0}, {1, 0}, {0, 2}}, {2, 1, 2}, 1, {1, 3}},
        {"zero row", {{0, 0}, {1, 0}}, {0, 1}, 1, {2}},
        {"zero row, right side of 1", {{0, 0}, {1, 0}}, {1, 1}, -1, {}},
        {"more rows than variables", {{1, 0}, {3, 0}, {0, 1}, {2, 0}}, {1, 3, 5, 2}, 2, {2, 3}},
        {"more rows, one disagrees", {{1, 0}, {3, 0}, {0, 1}, {2, 0}}, {1, 3, 5, 3}, -1, {}},
        {"diagonal of just the tolerance", {{1, 0}, {0, Tol}}, {1, 9}, 0, {1, 2}},
        {"diagonal below it", {{1, 0}, {0, below}}, {1, 0}, 1, {1}},
        {"right side below it", {{1, 0}, {0, 0}}, {1, below}, 1, {1}},
        {"right side of just it", {{1, 0}, {0, 0}}, {1, Tol}, -1, {}},
        {"tie with a fixed variable", {{1, 0}}, {3}, 1, {1}, {{1, 0}}, {3}, {}},
        {"longer fixed rows stay", {{1, 0}, {0, 1}}, {3, 4}, 1, {2}, {{2, 0}}, {6}, {1}},
        {"second fixed row leaves", {{0, 1}}, {4}, 1, {1}, {{2, 0}, {1, 0}}, {6, 3}, {1}},
        {"fixed rows disagree", {{0, 1}}, {4}, -1, {}, {{2, 0}, {1, 0}}, {6, 4}, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Bench bench({.H = {}, .c = {1, 1}, .Aeq = c.Aeq, .beq = c.beq});
        FixedRows constraint(bench.constraint, c.fixed, c.fixedRhs);
        EXPECT_EQ(TestAccess::removeDependentEq(bench.solver, constraint), c.removed);
        const auto lists = TestAccess::lists(bench.solver);
        EXPECT_EQ(values(lists[0].get()), c.keptFixed);
        EXPECT_EQ(values(lists[1].get()), c.keptEq);
        EXPECT_EQ(ActiveSet::getmaFixed(), c.keptFixed.size());
        EXPECT_EQ(ActiveSet::getmaEq(), c.keptEq.size());
    }
}

}  // namespace
}  // namespace activeset::test
