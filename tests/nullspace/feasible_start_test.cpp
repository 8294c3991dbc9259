// The move of the start onto the working set.
#include "engine/scripted_solver.hpp"

namespace activeset::test {
namespace {

class FeasibleStart : public FreshState {};

TEST_F(FeasibleStart, IsTheNearestPointUnlessTheShortestOneViolatesLess) {
    // All equalities are in the working set.
    const auto expectMove = [](const char* name, const Rows& Aeq, const std::vector<double>& beq,
                               const std::vector<double>& lb, const std::vector<double>& ub,
                               const std::vector<double>& start, const Rows& expected,
                               double tolerance = 0.0, bool succeeds = true) {
        SCOPED_TRACE(name);
        Bench bench({.H = {}, .c = {1, 1}, .Aeq = Aeq, .beq = beq, .lb = lb, .ub = ub});
        Lists lists{.eq = {1, 2}};
        lists.eq.resize(beq.size());
        initialise(bench.solver, bench, lists);
        bench.solver.initializeFactorization();
        TestAccess::newQR(bench.solver);
        const std::vector<double> Q = values(bench.solver.getQ());
        const std::vector<double> R = values(bench.solver.getQRwset());
        OPTMatrix<double> x = columnMatrix(start);
        EXPECT_EQ(bench.solver.feasibleWorkingSetX0(x, bench.constraint), succeeds);
        expectNear(x, expected, tolerance);
        EXPECT_EQ(values(bench.solver.getQ()), Q) << "the factors are left alone";
        EXPECT_EQ(values(bench.solver.getQRwset()), R);
    };
    const Rows e0{{1, 0}};
    expectMove("already there", e0, {2}, {}, {}, {2, 3}, {{2}, {3}});
    expectMove("nearest", e0, {2}, {}, {}, {5, 3}, {{2}, {3}});
    // (2, 0) is nearest to (3, 1), but violates the bound.
    expectMove("shortest", {{1, 1}}, {2}, {}, {1.25, Inf}, {3, 1}, {{1}, {1}}, 8 * Eps);
    // The points are (2, 3) and (2, 0). −x1 ≤ −1 holds at both; the upper bound of x1 varies.
    expectMove("nearest is less wrong", e0, {2}, {-9, 1}, {9, 2.5}, {5, 3}, {{2}, {3}});
    expectMove("both are as wrong", e0, {2}, {-9, 1}, {9, 2}, {5, 3}, {{2}, {3}});
    expectMove("shortest is less wrong", e0, {2}, {-9, 1}, {9, 1.5}, {5, 3}, {{2}, {0}});
    expectMove("singular", {{1, 0}, {0, 0}}, {2, 0}, {}, {}, {5, 3}, {{5}, {3}}, 0.0, false);
}

}  // namespace
}  // namespace activeset::test
