// Small problems of every shape, against the optimum that trying all working sets finds.
#include <gtest/gtest.h>

#include <numeric>
#include <random>

#include "solve/call.hpp"
#include "solve/optimality.hpp"
#include "support/enumerate_qp.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

/// Seeded source of problems around a feasible point; integers, so that ties are exact.
class Source {
public:
    explicit Source(unsigned seed) : random_(seed) {}

    int integer(int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(random_);
    }
    bool coin() { return integer(0, 1) == 1; }
    Numbers integers(size_t count, int reach) {
        Numbers result(count);
        for (double& value : result) {
            value = integer(-reach, reach);
        }
        return result;
    }
    /// A row that is not zero.
    Numbers row(size_t n) {
        Numbers result = integers(n, 3);
        result[static_cast<size_t>(integer(0, static_cast<int>(n) - 1))] = coin() ? 2 : -1;
        return result;
    }
    /// Some of the 1-based indices for which `exists`, in random order.
    Numbers someOf(size_t count, const auto& exists) {
        Numbers result;
        for (size_t i = 0; i < count; ++i) {
            if (exists(i) && coin()) {
                result.push_back(static_cast<double>(i + 1));
            }
        }
        std::shuffle(result.begin(), result.end(), random_);
        return result;
    }

private:
    std::mt19937 random_;
};

/// H = MᵀM + I; up to n − 1 equalities, inequalities and bounds, all satisfied by an integer point,
/// many of them exactly; start and initial working set are anything.
Problem feasibleProblem(Source& source) {
    const auto n = static_cast<size_t>(source.integer(1, 5));
    Problem problem;
    const Numbers inside = source.integers(n, 2);
    Rows M;
    for (size_t i = 0; i < n; ++i) {
        M.push_back(source.integers(n, 2));
    }
    problem.H = Rows(n, Numbers(n, 0.0));
    for (size_t i = 0; i < n; ++i) {
        for (size_t j = 0; j < n; ++j) {
            problem.H[i][j] = i == j ? 1.0 : 0.0;
            for (size_t k = 0; k < n; ++k) {
                problem.H[i][j] += M[k][i] * M[k][j];
            }
        }
    }
    problem.c = source.integers(n, 9);
    // Row k starts with k zeros and then a one: independent.
    const int equalities = source.integer(0, std::max(0, static_cast<int>(n) - 2));
    for (size_t k = 0; k < static_cast<size_t>(equalities); ++k) {
        Numbers row = source.integers(n, 3);
        std::fill_n(row.begin(), k, 0.0);
        row[k] = 1.0;
        problem.Aeq.push_back(row);
        problem.beq.push_back(dot(row, inside));
    }
    const int inequalities = source.integer(0, 6);
    for (int k = 0; k < inequalities; ++k) {
        problem.A.push_back(k > 0 && source.integer(0, 7) == 0 ? problem.A[0] : source.row(n));
        problem.b.push_back(dot(problem.A.back(), inside) + source.integer(0, 2));
    }
    problem.lb.assign(n, -Inf);
    problem.ub.assign(n, Inf);
    for (int bounds = source.integer(0, 4); bounds > 0; --bounds) {
        const auto i = static_cast<size_t>(source.integer(0, static_cast<int>(n) - 1));
        (source.coin() ? problem.lb[i] = inside[i] - source.integer(0, 2)
                       : problem.ub[i] = inside[i] + source.integer(0, 2));
    }
    problem.x0 = source.coin() ? inside : source.integers(n, 6);
    if (source.coin()) {
        problem.Wineq = source.someOf(problem.A.size(), [](size_t) { return true; });
        problem.Wlower = source.someOf(n, [&](size_t i) { return problem.lb[i] > -Inf; });
        problem.Wupper = source.someOf(n, [&](size_t i) { return problem.ub[i] < Inf; });
    }
    return problem;
}

constexpr unsigned Problems = 600;
// Directions below TolX are not followed and violations up to TolCon are left; the optimum is off
// by these times the condition of the working set, which small integers keep below a thousand.
constexpr double Accuracy = 1e-6;
const Limits Tight{1000, 1e-9, 1e-10};

class EnumeratedOptimum : public FreshState {
protected:
    static void expectOptimum(const Problem& problem,
                              const Numbers& optimum,
                              const Result& result) {
        ASSERT_EQ(result.state, ASQP::Optimal);
        for (size_t i = 0; i < problem.n(); ++i) {
            EXPECT_NEAR(result.x[i], optimum[i], Accuracy * (1.0 + largest(optimum)));
        }
        const double f = objectiveAt(problem, optimum);
        EXPECT_NEAR(result.f, f, Accuracy * (1.0 + std::abs(f)));
        expectOptimal(problem, result.x, result.lambda, Accuracy);
    }
};

TEST_F(EnumeratedOptimum, IsReachedFromAnyStartAndWorkingSet) {
    for (unsigned seed = 0; seed < Problems; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Source source(seed);
        const Problem problem = feasibleProblem(source);
        const auto optimum = enumeratedOptimum(problem);
        ASSERT_TRUE(optimum);
        expectOptimum(problem, *optimum, solve(problem, Tight));
    }
}

TEST_F(EnumeratedOptimum, IsReachedWhenEqualitiesRepeatOthers) {
    for (unsigned seed = 0; seed < Problems / 4; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Source source(seed);
        const Problem problem = feasibleProblem(source);
        if (problem.Aeq.empty()) {
            continue;
        }
        Problem repeated = problem;
        Numbers sum(problem.n(), 0.0);
        for (const Numbers& row : problem.Aeq) {
            std::transform(row.begin(), row.end(), sum.begin(), sum.begin(), std::plus<>());
        }
        repeated.Aeq.push_back(sum);
        repeated.beq.push_back(std::accumulate(problem.beq.begin(), problem.beq.end(), 0.0));
        repeated.Aeq.push_back(problem.Aeq[0]);
        repeated.beq.push_back(problem.beq[0]);
        expectOptimum(repeated, enumeratedOptimum(problem).value(), solve(repeated, Tight));
    }
}

// Infeasible: a second side of a row (or of a bound), one or more beyond the first.
TEST_F(EnumeratedOptimum, InfeasibleProblemsAreReportedAsSuch) {
    for (unsigned seed = 0; seed < Problems / 2; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Source source(seed);
        Problem problem = feasibleProblem(source);
        Numbers row = source.row(problem.n());
        const double limit = source.integer(-3, 3);
        problem.A.push_back(row);
        problem.b.push_back(limit);
        std::transform(row.begin(), row.end(), row.begin(), std::negate<>());
        problem.A.push_back(row);
        problem.b.push_back(-limit - source.integer(1, 3));
        ASSERT_FALSE(enumeratedOptimum(problem));
        const Result result = solve(problem, Tight);
        EXPECT_EQ(result.state, ASQP::Infeasible);
        EXPECT_GT(residuals(problem, result.x, result.lambda).primal, Tight.tolCon);
        EXPECT_EQ(result.x.size(), problem.n());
        EXPECT_NEAR(result.f, objectiveAt(problem, result.x), 1e-9 * (1.0 + std::abs(result.f)));
    }
}

TEST_F(EnumeratedOptimum, ContradictingEqualitiesAreReportedAsSuch) {
    for (unsigned seed = 0; seed < Problems / 2; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Source source(seed);
        Problem problem = feasibleProblem(source);
        const Numbers row = source.row(problem.n());
        const double value = source.integer(-3, 3);
        problem.Aeq.insert(problem.Aeq.end(), {row, row});
        problem.beq.insert(problem.beq.end(), {value, value + 1.0});
        EXPECT_EQ(solve(problem, Tight).state, ASQP::DependentConstraints);
    }
}

}  // namespace
}  // namespace activeset::test
