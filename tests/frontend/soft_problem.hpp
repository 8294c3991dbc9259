// Random problems with soft sides.
#ifndef ACTIVESET_TESTS_FRONTEND_SOFT_PROBLEM_HPP
#define ACTIVESET_TESTS_FRONTEND_SOFT_PROBLEM_HPP

#include <algorithm>
#include <cmath>
#include <random>
#include <utility>
#include <vector>

#include "activeset/qp.hpp"

namespace activeset::test {

using Numbers = std::vector<double>;

/// The cost of violating a side.
struct Price {
    double linear;
    double quadratic;
};

struct OwnedPenalty {
    Numbers lowerLinear, upperLinear, lowerQuadratic, upperQuadratic;

    [[nodiscard]] Price lower(std::size_t i) const { return {lowerLinear[i], lowerQuadratic[i]}; }
    [[nodiscard]] Price upper(std::size_t i) const { return {upperLinear[i], upperQuadratic[i]}; }
    [[nodiscard]] Penalty view() const {
        return {lowerLinear, upperLinear, lowerQuadratic, upperQuadratic};
    }
};

/// A random problem that owns its data. It is strictly convex, semidefinite or linear. Sides are
/// absent, equal, hard or soft, with either penalty or both. Half of the problems consist of small
/// integers, so that they tie.
struct SoftProblem {
    std::size_t n;
    std::size_t m;
    Numbers H, c, A, rowLower, rowUpper, lower, upper;
    OwnedPenalty rows, bounds;

    explicit SoftProblem(unsigned seed) : bits_(seed) {
        isInteger_ = pick(2) == 0;
        n = 1 + pick(6);
        m = pick(9);
        const std::size_t rank = std::vector<std::size_t>{n, n, pick(n + 1), 0}[pick(4)];
        H.assign(n * n, 0.0);
        for (std::size_t r = 0; r < rank; ++r) {
            const Numbers g = many(n);
            for (std::size_t k = 0; k < n * n; ++k) {
                H[k] += g[k / n] * g[k % n];
            }
        }
        for (std::size_t j = 0; rank == n && j < n; ++j) {
            H[j * (n + 1)] += 1.0;
        }
        c = many(n);
        A = many(m * n);
        addSides(m, rowLower, rowUpper, rows, 3);
        addSides(n, lower, upper, bounds, 2);
        for (std::size_t j = 0; rank < n && j < n; ++j) {
            lower[j] = std::max(lower[j], -20.0);
            upper[j] = std::min(upper[j], 20.0);
            bounds.lowerLinear[j] = bounds.upperLinear[j] = Infinity;
        }
    }

    [[nodiscard]] Problem hard() const {
        return {.H = {H, n, n},
                .c = c,
                .A = {A, m, m == 0 ? 0 : n},
                .rowLower = rowLower,
                .rowUpper = rowUpper,
                .lower = lower,
                .upper = upper};
    }
    [[nodiscard]] Problem soft() const {
        Problem problem = hard();
        problem.rowPenalty = rows.view();
        problem.boundPenalty = bounds.view();
        return problem;
    }

private:
    std::size_t pick(std::size_t count) { return bits_() % count; }
    double number() {
        return isInteger_ ? static_cast<double>(pick(7)) - 3.0
                          : std::normal_distribution<double>()(bits_);
    }
    Numbers many(std::size_t count) {
        Numbers numbers(count);
        for (double& value : numbers) {
            value = number();
        }
        return numbers;
    }
    void addSides(std::size_t count,
                  Numbers& low,
                  Numbers& high,
                  OwnedPenalty& penalty,
                  std::size_t softness) {
        for (std::size_t i = 0; i < count; ++i) {
            const double at = number();
            const std::size_t kind = pick(6);
            low.push_back(kind == 0 ? at : kind < 3 ? -Infinity : at - std::abs(number()));
            high.push_back(kind == 0 || kind == 5 ? low.back() : at);
            if (kind == 3) {
                high.back() = Infinity;
            }
            for (auto [linear, quadratic] :
                 {std::pair(&penalty.lowerLinear, &penalty.lowerQuadratic),
                  std::pair(&penalty.upperLinear, &penalty.upperQuadratic)}) {
                const std::size_t norm = pick(softness + 1);
                linear->push_back(norm == 0   ? Infinity
                                  : norm == 2 ? 0.0
                                              : 0.1 + std::abs(number()));
                quadratic->push_back(norm < 2 ? 0.0 : 0.1 + std::abs(number()));
            }
        }
    }

    std::mt19937 bits_;
    bool isInteger_ = false;
};

}  // namespace activeset::test

#endif
