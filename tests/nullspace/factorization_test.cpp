// The factors Aw = Q·R: their life, their shapes, and the pivoted variant.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <utility>

#include "engine/scripted_solver.hpp"
#include "support/golden.hpp"

namespace activeset::test {
namespace {

class Factorisation : public FreshState {};

TEST_F(Factorisation, AnEmptyWorkingSetGivesTheIdentityWhateverWasThere) {
    Bench bench({.H = {}, .c = {1, 1, 1}, .lb = {0, 0, 0}});
    initialise(bench.solver, bench);
    bench.solver.initializeFactorization();
    bench.solver.getQ().fill(7);
    bench.solver.getTau().fill(7);
    TestAccess::newQR(bench.solver);
    EXPECT_EQ(rowsOf(bench.solver.getQ()), (Rows{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}));
}

TEST_F(Factorisation, AProblemWithoutVariablesIsFactorised) {
    Bench bench({.H = {}, .c = {}});
    initialise(bench.solver, bench);
    bench.solver.initializeFactorization();
    TestAccess::newQR(bench.solver);
    EXPECT_EQ(bench.solver.getQ().size(), 0U);
    EXPECT_EQ(bench.solve().getSolutoinState(), ASQP::Optimal);
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
        solver.resetFactorization();
        EXPECT_FALSE(solver.isInitialized());
        EXPECT_EQ(solver.getQ().size() + solver.getTau().size(), 0U);
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

TEST_F(Factorisation, PivotingKeepsTheProductAndTheMarkedColumnsInFront) {
    NullSpaceAS solver;
    std::mt19937 random(20);  // the seed
    std::uniform_real_distribution<double> entry(-1, 1);
    for (const auto& [m, n] : {std::pair<size_t, size_t>{5, 3}, {3, 5}, {4, 4}, {1, 2}, {2, 1}}) {
        SCOPED_TRACE(std::to_string(m) + " by " + std::to_string(n));
        OPTMatrix<double> A(m, n);
        for (size_t k = 0; k < m * n; ++k) {
            A.getData()[k] = entry(random) * (k / m == n - 1 ? 0.01 : 1);
        }
        const Rows original = rowsOf(A);
        OPTMatrix<double> Q(m, m);
        OPTMatrix<double> tau(std::max(m, n), 1);
        std::vector<std::int64_t> jpvt(n, 0);
        jpvt[n - 1] = 1;  // the smallest column would come last by itself
        TestAccess::getQRE(solver, A, Q, tau, jpvt.data(), true);
        EXPECT_EQ(jpvt[0], static_cast<std::int64_t>(n));
        const OPTMatrix<double> product = Q * A;
        for (size_t j = 0; j < n; ++j) {
            for (size_t i = 0; i < m; ++i) {
                EXPECT_NEAR(product(i, j), original[i][static_cast<size_t>(jpvt[j] - 1)], 40 * Eps);
                if (i > j) {
                    EXPECT_EQ(A(i, j), 0.0);
                }
            }
        }
        const OPTMatrix<double> gram = Q.transpose() * Q;
        for (size_t k = 0; k < m * m; ++k) {
            EXPECT_NEAR(gram.getData()[k], k % (m + 1) == 0 ? 1.0 : 0.0, 40 * Eps);
        }
    }
}

TEST_F(Factorisation, WithoutRowsThePermutationIsTheIdentity) {
    NullSpaceAS solver;
    OPTMatrix<double> A(0, 3);
    OPTMatrix<double> Q(0, 0);
    OPTMatrix<double> tau(3, 1);
    std::vector<std::int64_t> jpvt(3, 0);
    TestAccess::getQRE(solver, A, Q, tau, jpvt.data(), true);
    EXPECT_EQ(jpvt, (std::vector<std::int64_t>{1, 2, 3}));
}

}  // namespace
}  // namespace activeset::test
