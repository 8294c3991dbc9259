// How much a point and its multipliers violate the optimality conditions, computed from the plain
// data only.
#ifndef ACTIVESET_TESTS_SOLVE_OPTIMALITY_HPP
#define ACTIVESET_TESTS_SOLVE_OPTIMALITY_HPP

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "support/plain_problem.hpp"

namespace activeset::test {

inline double largest(const std::vector<double>& values) {
    double result = 0.0;
    for (const double value : values) {
        result = std::max(result, std::abs(value));
    }
    return result;
}

/// The largest violation of each condition, relative to 1 plus the sum of the magnitudes of its
/// terms. Rounding alone gives about eps.
struct Residuals {
    double primal = 0.0;           ///< rows and bounds
    double dual = 0.0;             ///< Hx + c + Aeqᵀλeq + Aᵀλineq − λlower + λupper
    double sign = 0.0;             ///< negative multipliers of inequalities and bounds
    double complementarity = 0.0;  ///< min(multiplier, slack)
};

/// @param lambda multipliers of equalities, inequalities, lower bounds, upper bounds
inline Residuals residuals(const Problem& problem,
                           const std::vector<double>& x,
                           const std::vector<double>& lambda) {
    Residuals result;
    std::vector<double> gradient = problem.c;
    std::vector<double> weight(problem.n(), 1.0);
    const auto addTo = [&](size_t j, double term) {
        gradient[j] += term;
        weight[j] += std::abs(term);
    };
    for (size_t i = 0; i < problem.n(); ++i) {
        weight[i] += std::abs(problem.c[i]);
        for (size_t j = 0; j < problem.n() && !problem.H.empty(); ++j) {
            addTo(i, problem.H[i][j] * x[j]);
        }
    }
    const double lambdaScale = 1.0 + largest(lambda);
    for (const RowConstraint& constraint : constraintsOf(problem)) {
        const double multiplier = lambda.at(constraint.number);
        double slack = constraint.rhs;
        double scale = 1.0 + std::abs(slack);
        for (size_t j = 0; j < problem.n(); ++j) {
            const double term = constraint.row[j] * x[j];
            slack -= term;
            scale += std::abs(term);
            addTo(j, constraint.row[j] * multiplier);
        }
        slack /= scale;
        const double relative = multiplier / lambdaScale;
        result.primal = std::max(result.primal, constraint.isEquality ? std::abs(slack) : -slack);
        if (!constraint.isEquality) {
            result.sign = std::max(result.sign, -relative);
            result.complementarity = std::max(result.complementarity, std::min(slack, relative));
        }
    }
    for (size_t j = 0; j < problem.n(); ++j) {
        result.dual = std::max(result.dual, std::abs(gradient[j]) / weight[j]);
    }
    return result;
}

inline void expectOptimal(const Problem& problem,
                          const std::vector<double>& x,
                          const std::vector<double>& lambda,
                          double tolerance) {
    const Residuals r = residuals(problem, x, lambda);
    EXPECT_LE(r.primal, tolerance);
    EXPECT_LE(r.dual, tolerance);
    EXPECT_LE(r.sign, tolerance);
    EXPECT_LE(r.complementarity, tolerance);
}

}  // namespace activeset::test

#endif
