// The Cholesky factor of the reduced Hessian, updated from pass to pass, compared with a factor
// that is computed afresh.
#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>

#include "engine/scripted_solver.hpp"

namespace activeset::test {
namespace {

class KeptFactor : public FreshState {
protected:
    std::mt19937_64 generator{20};

    double normal() { return std::normal_distribution<double>()(generator); }
    Rows randomRows(size_t rows, size_t cols) {
        Rows result(rows, std::vector<double>(cols));
        for (auto& row : result) {
            std::generate(row.begin(), row.end(), [this] { return normal(); });
        }
        return result;
    }
    /// A strictly convex problem with n inequalities and bounds on all variables; the origin is
    /// feasible.
    Problem randomProblem(size_t n) {
        const OPTMatrix<double> F = matrix(randomRows(n, n));
        Problem problem{.H = rowsOf(F * F.transpose()), .c = {}, .A = randomRows(n, n)};
        for (size_t i = 0; i < n; ++i) {
            for (size_t j = 0; j < i; ++j) {
                problem.H[i][j] = problem.H[j][i];
            }
            problem.H[i][i] += 0.1;
            problem.c.push_back(3.0 * normal());
            problem.b.push_back(std::abs(normal()));
            problem.lb.push_back(-std::abs(normal()));
            problem.ub.push_back(i % 3 == 0 ? Inf : std::abs(normal()));
        }
        return problem;
    }
};

/// The direction that the kept factor gives, whatever the solver uses itself.
OPTMatrix<double> keptDirection(NullSpaceAS& solver, const OPTMatrix<double>& g) {
    OPTMatrix<double> u = solver.getQ().transpose() * g;
    TestAccess::reducedHessian(solver).solve(u.getData() + ActiveSet::getmaConstr());
    for (size_t k = 0; k < ActiveSet::getmaConstr(); ++k) {
        u(k, 0) = 0.0;
    }
    return solver.getQ() * u * -1.0;
}

// A damaged factor is not used, and not formed again while that is forbidden.
TEST_F(KeptFactor, FollowsEveryChangeOfTheWorkingSet) {
    for (const size_t n : {size_t{2}, size_t{5}, size_t{9}, size_t{23}}) {
        const Problem problem = randomProblem(n);
        Bench bench(problem);
        NullSpaceAS& solver = bench.solver;
        bench.init();
        solver.initializeFactorization();
        OPTMatrix<double> g = columnMatrix(problem.c);
        OPTMatrix<double> p(n, 1);
        size_t followed = 0;
        for (int change = 0; change < 200 && !HasFailure(); ++change) {
            SCOPED_TRACE(::testing::Message() << "n " << n << ", change " << change);
            const bool isCurrent = TestAccess::reducedHessian(solver).isCurrent();
            TestAccess::allowUpdates(solver, !isCurrent);
            const Indices set = workingSet(solver);
            if (set.size() < 2 || (set.size() < n && generator() % 2 == 0)) {
                size_t row = generator() % n;
                while (std::count(set.begin(), set.end(), row) != 0) {
                    row = (row + 1) % n;
                }
                TestAccess::add(solver, row, row, "ineq");
            } else {
                const size_t position = generator() % set.size();
                solver._setindexOfDepartingConstraint(position);
                solver.removeConstraint(position);
            }
            solver.getSearchDirection(g, p);
            if (ActiveSet::getmaConstr() < n && TestAccess::reducedHessian(solver).isCurrent()) {
                followed += isCurrent ? 1 : 0;
                expectNear(keptDirection(solver, g), rowsOf(p), 1e-10 * (1.0 + largestEntry(p)));
            }
        }
        EXPECT_GT(followed, 20U) << "n " << n;
    }
}

TEST_F(KeptFactor, LeavesOutcomeWorkingSetAndPassesAsThePlainComputationHasThem) {
    for (int trial = 0; trial < 40; ++trial) {
        SCOPED_TRACE(trial);
        const Problem problem = randomProblem(2 + generator() % 30);
        Bench plain(problem);
        TestAccess::allowUpdates(plain.solver, false);
        const ASsolution expected = plain.solve();
        const Indices expectedSet = workingSet(plain.solver);
        Bench updated(problem);
        const ASsolution actual = updated.solve();
        ASSERT_EQ(actual.getSolutoinState(), expected.getSolutoinState());
        ASSERT_EQ(updated.solver._getCurrentIter(), plain.solver._getCurrentIter());
        ASSERT_EQ(workingSet(updated.solver), expectedSet);
        expectNear(actual.getxstar(), rowsOf(expected.getxstar()), 1e-9);
    }
}

// H is L·Lᵀ in reversed order, where L has a unit diagonal and −0.9 below it. Every pivot of an
// update is 1, but H is singular to working precision. Only the length of the direction shows it.
TEST_F(KeptFactor, LetsLapackDecideWhereOnlyTheDirectionShowsASingularMatrix) {
    constexpr size_t N = 40;
    Problem problem{Rows(N, std::vector<double>(N, 0.0)), std::vector<double>(N, -1.0)};
    problem.lb.assign(N, 0.0);
    for (size_t i = 0; i < N; ++i) {
        for (size_t j = 0; j < N; ++j) {
            for (size_t k = 0; k <= std::min(i, j); ++k) {
                problem.H[N - 1 - i][N - 1 - j] += (i == k ? 1.0 : -0.9) * (j == k ? 1.0 : -0.9);
            }
        }
    }
    std::vector<double> active(N - 1);
    std::iota(active.begin(), active.end(), 1.0);
    for (const bool updates : {false, true}) {
        Bench bench(problem);
        NullSpaceAS& solver = bench.solver;
        TestAccess::allowUpdates(solver, updates);
        bench.init({}, {}, active);
        solver.initializeFactorization();
        OPTMatrix<double> g(N, 1);
        for (size_t i = 0; i < N; ++i) {
            g(i, 0) = static_cast<double>(i % 3) - 1.0;
        }
        OPTMatrix<double> p(N, 1);
        solver.getSearchDirection(g, p);
        for (size_t last = N - 1; last > 0; --last) {
            solver._setindexOfDepartingConstraint(last - 1);
            solver.removeConstraint(last - 1);
            solver.getSearchDirection(g, p);
        }
        EXPECT_EQ(solver.getSolution().getSolutoinState(), ASQP::HessianNotPositiveDefinite);
    }
}

TEST_F(KeptFactor, IsGivenUpForASingularMatrixAndNotUsedWithoutSymmetry) {
    // H has rank one. Once the constraint has left, ZᵀHZ is H.
    Bench bench({.H = {{1, 1}, {1, 1}}, .c = {-1, -1}, .A = {{1, 0}}, .b = {1}});
    bench.init({}, {1.0});
    bench.solver.initializeFactorization();
    OPTMatrix<double> g = columnMatrix({-1, -1});
    OPTMatrix<double> p(2, 1);
    for (const bool isDefinite : {true, false}) {
        bench.solver.getSearchDirection(g, p);
        EXPECT_EQ(TestAccess::reducedHessian(bench.solver).isCurrent(), isDefinite);
        EXPECT_EQ(bench.solver.getSolution().getSolutoinState(),
                  isDefinite ? ASQP::Initialized : ASQP::HessianNotPositiveDefinite);
        if (isDefinite) {
            bench.solver._setindexOfDepartingConstraint(0);
            bench.solver.removeConstraint(0);
        }
    }
    Bench skew({.H = {{2, 1}, {0, 2}}, .c = {-1, -2}});
    static_cast<void>(skew.solve());
    EXPECT_FALSE(TestAccess::reducedHessian(skew.solver).isCurrent());
}

}  // namespace
}  // namespace activeset::test
