// The factors Aw = Q·R: when they exist, and their shapes.
#include <cmath>

#include "engine/scripted_solver.hpp"

namespace activeset::test {
namespace {

class Factorisation : public FreshState {};

TEST_F(Factorisation, AnEmptyWorkingSetGivesTheIdentityWhateverWasThere) {
    Bench bench({.H = {}, .c = {1, 1, 1}, .lb = {0, 0, 0}});
    initialise(bench.solver, bench);
    bench.solver.initializeFactorization();
    bench.solver.getQ().fill(7);
    TestAccess::newQR(bench.solver);
    EXPECT_EQ(rowsOf(bench.solver.getQ()), (Rows{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}));
}

TEST_F(Factorisation, HouseholderVectorsAreClearedFromR) {
    Bench bench({.H = {}, .c = {1, 1, 1}, .A = {{3, 4, 0}, {0, 5, 12}}, .b = {1, 1}});
    initialise(bench.solver, bench, {.ineq = {1, 2}});
    bench.solver.initializeFactorization();
    TestAccess::newQR(bench.solver);
    const std::vector<double> R = values(bench.solver.getQRwset());
    EXPECT_NEAR(std::abs(R[0]), 5, 20 * Eps);
    EXPECT_EQ((std::vector<double>{R[1], R[2], R[5]}), std::vector<double>(3));
    expectFactorises(bench.solver);
}

TEST_F(Factorisation, FactorsThatFitAreKeptUnlessThereAreMoreConstraintsThanVariables) {
    for (const bool isKept : {true, false}) {
        Bench bench({.H = {}, .c = {1, 1}, .lb = {0, 0}, .ub = {isKept ? Inf : 1, Inf}});
        NullSpaceAS& solver = bench.solver;
        solver.initializeFactorization();
        solver.getQ().fill(7);
        solver.initializeFactorization();
        EXPECT_EQ(solver.getQ()(0, 0), isKept ? 7 : 0);
        EXPECT_EQ(solver.getQRwset().getCols(), 2U);
    }
}

TEST_F(Factorisation, SizesHaveTheirGoldenText) {
    Bench bench({.H = {}, .c = {1, 1, 1}, .A = {{1, 0, 0}, {0, 1, 0}}, .b = {1, 1}});
    const CapturedOutput output;
    bench.solver.PrintSizes();
    bench.solver.initializeFactorization();
    bench.solver.PrintSizes();
    EXPECT_EQ(output.text(), golden("listing_solver_sizes.txt"));
}

}  // namespace
}  // namespace activeset::test
