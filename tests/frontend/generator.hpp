// Random problems of every kind, and judges of answers that share nothing with the solver.
#ifndef ACTIVESET_TESTS_FRONTEND_GENERATOR_HPP
#define ACTIVESET_TESTS_FRONTEND_GENERATOR_HPP

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "activeset/qp.hpp"

namespace activeset::test {

using Numbers = std::vector<double>;

/// A problem that owns its data.
struct Sample {
    std::size_t n = 0, m = 0;
    Numbers H, c, A, rowLower, rowUpper, lower, upper, start;

    [[nodiscard]] Problem view() const {
        Problem problem{.c = c, .rowLower = rowLower, .rowUpper = rowUpper};
        problem.H = MatrixView(H, H.empty() ? 0 : n, H.empty() ? 0 : n);
        problem.A = MatrixView(A, m, m == 0 ? 0 : n);
        problem.lower = lower;
        problem.upper = upper;
        problem.start = start;
        return problem;
    }
    [[nodiscard]] double entryOfA(std::size_t i, std::size_t j) const { return A[j * m + i]; }
};

/// Half of them with small integers, so that constraints tie and depend on one another. With
/// `anything`, also singular and indefinite H and constraints that contradict one another.
inline Sample randomSample(unsigned seed, std::size_t largest, bool anything) {
    std::mt19937_64 bits(seed);
    std::normal_distribution<double> normal;
    const auto pick = [&](int low, int high) {
        return low + static_cast<int>(bits() % static_cast<unsigned>(high - low + 1));
    };
    const bool integral = pick(0, 1) == 0;
    const auto number = [&] { return integral ? pick(-3, 3) : normal(bits); };
    const auto room = [&] { return integral ? pick(0, 2) : std::abs(normal(bits)); };
    Sample s;
    s.n = static_cast<std::size_t>(pick(1, static_cast<int>(largest)));
    s.m = static_cast<std::size_t>(pick(0, static_cast<int>(2 * largest)));
    const std::size_t rank = !anything || pick(0, 2) == 0
                                 ? s.n
                                 : static_cast<std::size_t>(pick(0, static_cast<int>(s.n)));
    Numbers root(s.n * rank), inside(s.n);
    for (Numbers* values : {&root, &s.c, &inside, &s.A}) {
        values->resize(values == &s.c ? s.n : values == &s.A ? s.n * s.m : values->size());
        std::generate(values->begin(), values->end(), number);
    }
    s.H.assign(s.n * s.n, 0.0);
    for (std::size_t k = 0; k < s.n * s.n * rank; ++k) {
        const std::size_t i = k / rank % s.n, j = k / rank / s.n;
        s.H[j * s.n + i] += root[k % rank * s.n + i] * root[k % rank * s.n + j];
    }
    for (std::size_t j = 0; j < s.n; ++j) {
        s.H[j * (s.n + 1)] +=
            anything ? (pick(0, 30 * static_cast<int>(s.n)) == 0 ? -5.0 : 0.0) : 1.0;
    }
    const bool contradicts = anything && pick(0, 5) == 0;
    for (std::size_t i = 0; i < s.m; ++i) {
        const std::size_t source = i == 0 || pick(0, 3) != 0 ? i : bits() % i;
        double value = 0.0;
        for (std::size_t j = 0; j < s.n; ++j) {
            s.A[j * s.m + i] = anything ? s.entryOfA(source, j) : s.entryOfA(i, j);
            value += s.entryOfA(i, j) * inside[j];
        }
        value += contradicts && pick(0, static_cast<int>(s.m)) == 0 ? 3.0 : 0.0;
        const int kind = pick(anything ? 0 : 1, 5);
        s.rowLower.push_back(kind == 0 ? value : kind >= 4 ? value - room() : -Infinity);
        s.rowUpper.push_back(kind == 0 ? value : kind <= 4 ? value + room() : Infinity);
    }
    for (std::size_t j = 0; j < s.n; ++j) {
        const int kind = pick(0, 5);
        s.lower.push_back(kind == 0 ? inside[j] : kind <= 2 ? inside[j] - room() : -Infinity);
        s.upper.push_back(kind == 0                ? inside[j]
                          : kind == 1 || kind == 3 ? inside[j] + room()
                                                   : Infinity);
        s.start.push_back(number());
    }
    return s;
}

/// Sums over a problem, term by term.
class Oracle {
public:
    explicit Oracle(const Sample& sample) : s_(sample) {}

    /// Feasible, stationary, complementary, signs as documented, for a convex problem an optimum.
    void expectOptimum(const Result& r, double tolerance) const {
        const auto near = [&](long double value, long double scale) {
            EXPECT_LE(std::abs(static_cast<double>(value)),
                      tolerance * std::max(1.0, static_cast<double>(scale)));
        };
        const auto side = [&](long double value, double lower, double upper, double multiplier) {
            const double scale = std::abs(static_cast<double>(value));
            near(std::max(0.0L, lower - value), scale);
            near(std::max(0.0L, value - upper), scale);
            if (multiplier != 0.0) {
                const double met = multiplier > 0.0 ? upper : lower;
                ASSERT_TRUE(std::isfinite(met)) << "a multiplier of a side that is absent";
                near(multiplier * (value - met), std::abs(multiplier) * (1.0 + scale));
            }
        };
        for (std::size_t i = 0; i < s_.m; ++i) {
            side(row(i, r.x), s_.rowLower[i], s_.rowUpper[i], r.y[i]);
        }
        long double objective = 0.0L;
        for (std::size_t j = 0; j < s_.n; ++j) {
            side(r.x[j], s_.lower[j], s_.upper[j], r.z[j]);
            const long double curved = slope(j, r.x);
            const long double forced = pull(j, r.y);
            near(curved + s_.c[j] + forced + r.z[j],
                 std::abs(curved) + std::abs(forced) + std::abs(r.z[j]));
            objective += r.x[j] * (curved / 2 + s_.c[j]);
        }
        near(objective - r.objective, objective);
    }

    void expectNoFeasiblePoint(const Result& r) const {
        ASSERT_TRUE(r.farkas);
        long double value = 0.0L;
        const auto weigh = [&](double multiplier, double lower, double upper) {
            if (multiplier != 0.0) {
                value += multiplier * static_cast<long double>(multiplier > 0.0 ? upper : lower);
            }
        };
        for (std::size_t i = 0; i < s_.m; ++i) {
            weigh(r.farkas->y[i], s_.rowLower[i], s_.rowUpper[i]);
        }
        for (std::size_t j = 0; j < s_.n; ++j) {
            weigh(r.farkas->z[j], s_.lower[j], s_.upper[j]);
            EXPECT_NEAR(static_cast<double>(pull(j, r.farkas->y) + r.farkas->z[j]), 0.0, 1e-8);
        }
        EXPECT_LT(value, -0.99L);
    }

    void expectUnbounded(const Result& r) const {
        ASSERT_EQ(r.direction.size(), s_.n);
        const auto noSide = [](long double value, double lower, double upper) {
            EXPECT_GE(value, lower > -Infinity ? -1e-8L : -HUGE_VALL);
            EXPECT_LE(value, upper < Infinity ? 1e-8L : HUGE_VALL);
        };
        long double descent = 0.0L;
        for (std::size_t i = 0; i < s_.m; ++i) {
            noSide(row(i, r.direction), s_.rowLower[i], s_.rowUpper[i]);
        }
        for (std::size_t j = 0; j < s_.n; ++j) {
            noSide(r.direction[j], s_.lower[j], s_.upper[j]);
            EXPECT_NEAR(static_cast<double>(slope(j, r.direction)), 0.0, 1e-7);
            descent += s_.c[j] * r.direction[j];
        }
        EXPECT_LT(descent, -1e-6L);
    }

    void expectNegativeCurvature(const Result& r) const {
        ASSERT_EQ(r.direction.size(), s_.n);
        long double bend = 0.0L;
        for (std::size_t j = 0; j < s_.n; ++j) {
            bend += slope(j, r.direction) * r.direction[j];
        }
        EXPECT_LT(bend, -1e-9L);
        for (std::size_t i = 0; i < s_.m; ++i) {
            if (s_.rowLower[i] == s_.rowUpper[i]) {
                EXPECT_NEAR(static_cast<double>(row(i, r.direction)), 0.0, 1e-9);
            }
        }
    }

private:
    [[nodiscard]] long double row(std::size_t i, const Numbers& x) const {
        long double sum = 0.0L;
        for (std::size_t j = 0; j < s_.n; ++j) {
            sum += static_cast<long double>(s_.entryOfA(i, j)) * x[j];
        }
        return sum;
    }
    [[nodiscard]] long double slope(std::size_t j, const Numbers& x) const {
        long double sum = 0.0L;
        for (std::size_t i = 0; i < s_.n && !s_.H.empty(); ++i) {
            sum += static_cast<long double>(s_.H[j * s_.n + i]) * x[i];
        }
        return sum;
    }
    [[nodiscard]] long double pull(std::size_t j, const Numbers& y) const {
        long double sum = 0.0L;
        for (std::size_t i = 0; i < s_.m; ++i) {
            sum += static_cast<long double>(s_.entryOfA(i, j)) * y[i];
        }
        return sum;
    }

    const Sample& s_;
};

}  // namespace activeset::test

#endif
