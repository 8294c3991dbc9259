// The Cholesky factor of the reduced Hessian that is kept from pass to pass, against the plain
// computation.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "support/expect.hpp"
#include "support/fixture.hpp"
#include "support/test_access.hpp"

namespace {

using activeset::ReducedHessian;
using activeset::test::Bench;
using activeset::test::Eps;
using activeset::test::Inf;
using activeset::test::Problem;
using activeset::test::Rows;
using Matrix = OPTMatrix<double>;

class KeptFactor : public activeset::test::FreshState {};

using Generator = std::mt19937_64;

double normal(Generator& generator) {
    return std::normal_distribution<double>()(generator);
}

Rows randomRows(Generator& generator, size_t rows, size_t cols) {
    Rows result(rows, std::vector<double>(cols));
    for (auto& row : result) {
        for (double& value : row) {
            value = normal(generator);
        }
    }
    return result;
}

Rows positiveDefinite(Generator& generator, size_t n, double shift) {
    const Rows F = randomRows(generator, n, n);
    Rows H(n, std::vector<double>(n, 0.0));
    for (size_t i = 0; i < n; ++i) {
        for (size_t j = 0; j <= i; ++j) {
            for (size_t k = 0; k < n; ++k) {
                H[i][j] += F[i][k] * F[j][k];
            }
            H[j][i] = H[i][j];
        }
        H[i][i] += shift;
    }
    return H;
}

// Strictly convex, feasible at the origin: n inequalities, bounds on all variables.
Problem randomProblem(Generator& generator, size_t n) {
    Problem problem{positiveDefinite(generator, n, 0.1), {}};
    problem.A = randomRows(generator, n, n);
    for (size_t i = 0; i < n; ++i) {
        problem.c.push_back(3.0 * normal(generator));
        problem.b.push_back(std::abs(normal(generator)));
        problem.lb.push_back(-std::abs(normal(generator)));
        problem.ub.push_back(i % 3 == 0 ? Inf : std::abs(normal(generator)));
    }
    return problem;
}

// L·Lᵀ against ẐᵀHẐ, Ẑ being the trailing columns of Q from the last backwards.
void expectFactorOfReducedHessian(NullSpaceAS& solver, const Rows& H) {
    const ReducedHessian& kept = TestAccess::reducedHessian(solver);
    const size_t n = H.size();
    const size_t nz = n - ActiveSet::getmaConstr();
    ASSERT_TRUE(kept.isCurrent());
    ASSERT_EQ(kept.order(), nz);
    Matrix& Q = solver.getQ();
    for (size_t i = 0; i < nz; ++i) {
        for (size_t j = 0; j <= i; ++j) {
            double expected = 0.0;
            for (size_t k = 0; k < n; ++k) {
                for (size_t l = 0; l < n; ++l) {
                    expected += Q(k, n - 1 - i) * H[k][l] * Q(l, n - 1 - j);
                }
            }
            double product = 0.0;
            for (size_t k = 0; k <= j; ++k) {
                product += kept.factor(i, k) * kept.factor(j, k);
            }
            const double tolerance = 1e3 * static_cast<double>(n) * Eps * kept.scale();
            ASSERT_NEAR(product, expected, tolerance) << "at " << i << ", " << j;
        }
    }
}

// An inequality that is not in the working set yet, from `row` on.
size_t freeRow(NullSpaceAS& solver, size_t row, size_t rows) {
    const ActiveSet& set = solver.getActiveSet();
    size_t position = 0;
    while (set.findConstraint(set.getWineq(), ActiveSet::getmaIneq(), row, position) == 1) {
        row = (row + 1) % rows;
    }
    return row;
}

TEST_F(KeptFactor, FollowsEveryChangeOfTheWorkingSet) {
    constexpr unsigned Seed = 20;
    SCOPED_TRACE(Seed);
    Generator generator(Seed);
    for (const size_t n : {size_t{2}, size_t{5}, size_t{9}, size_t{23}}) {
        Problem problem = randomProblem(generator, n);
        Bench bench(problem);
        NullSpaceAS& solver = bench.solver;
        bench.init();
        solver.initializeFactorization();
        Matrix g = activeset::test::columnMatrix(problem.c);
        Matrix p(n, 1);
        solver.getSearchDirection(g, p);
        for (int change = 0; change < 200; ++change) {
            const size_t m = ActiveSet::getmaConstr();
            if (m < 2 || (m < n && generator() % 2 == 0)) {
                const size_t row = freeRow(solver, generator() % n, n);
                TestAccess::add(solver, row, row, "ineq");
            } else {
                const size_t position = generator() % m;
                solver._setindexOfDepartingConstraint(position);
                solver.removeConstraint(position);
            }
            solver.getSearchDirection(g, p);
            if (ActiveSet::getmaConstr() < n) {
                expectFactorOfReducedHessian(solver, problem.H);
            }
        }
    }
}

TEST_F(KeptFactor, LeavesOutcomeWorkingSetAndPassesAsThePlainComputationHasThem) {
    constexpr unsigned Seed = 21;
    SCOPED_TRACE(Seed);
    Generator generator(Seed);
    for (int trial = 0; trial < 40; ++trial) {
        const size_t n = 2 + generator() % 30;
        const Problem problem = randomProblem(generator, n);
        Bench plain(problem);
        TestAccess::forbidUpdates(plain.solver);
        const ASsolution expected = plain.solve();
        const int expectedPasses = plain.solver._getCurrentIter();
        const auto expectedSet = TestAccess::workingSet(plain.solver);
        Bench updated(problem);
        const ASsolution actual = updated.solve();
        ASSERT_EQ(actual.getSolutoinState(), expected.getSolutoinState());
        ASSERT_EQ(updated.solver._getCurrentIter(), expectedPasses);
        ASSERT_EQ(TestAccess::workingSet(updated.solver), expectedSet);
        for (size_t i = 0; i < n; ++i) {
            ASSERT_NEAR(actual.xstarRef()(i, 0), expected.xstarRef()(i, 0), 1e-9);
        }
    }
}

TEST_F(KeptFactor, LetsLapackDecideOnASingularMatrix) {
    // H has rank one: once the constraint leaves, ZᵀHZ is H itself.
    Problem problem{{{1.0, 1.0}, {1.0, 1.0}}, {-1.0, -1.0}};
    problem.A = {{1.0, 0.0}};
    problem.b = {1.0};
    Bench bench(problem);
    bench.init({}, {1.0});
    bench.solver.initializeFactorization();
    Matrix g = activeset::test::columnMatrix(problem.c);
    Matrix p(2, 1);
    bench.solver.getSearchDirection(g, p);
    EXPECT_TRUE(TestAccess::reducedHessian(bench.solver).isCurrent());
    bench.solver._setindexOfDepartingConstraint(0);
    bench.solver.removeConstraint(0);
    bench.solver.getSearchDirection(g, p);
    EXPECT_FALSE(TestAccess::reducedHessian(bench.solver).isCurrent());
    EXPECT_EQ(bench.solver.getSolution().getSolutoinState(), ASQP::HessianNotPositiveDefinite);
}

TEST_F(KeptFactor, IsNotUsedForAHessianThatIsNotSymmetric) {
    Bench bench(Problem{{{2.0, 1.0}, {0.0, 2.0}}, {-1.0, -2.0}});
    static_cast<void>(bench.solve());
    EXPECT_FALSE(TestAccess::reducedHessian(bench.solver).isCurrent());
}

}  // namespace
