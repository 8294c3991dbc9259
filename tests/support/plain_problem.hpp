// Facts about a problem without the solver: its constraints as rows and its objective. It shares
// neither code nor method with the library.
#ifndef ACTIVESET_TESTS_SUPPORT_PLAIN_PROBLEM_HPP
#define ACTIVESET_TESTS_SUPPORT_PLAIN_PROBLEM_HPP

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include "support/build.hpp"

namespace activeset::test {

/// Solves M·x = r by elimination with partial pivoting. Empty if a pivot is below `smallest`.
inline std::optional<std::vector<double>> eliminate(Rows M,
                                                    std::vector<double> r,
                                                    double smallest) {
    const size_t n = r.size();
    for (size_t k = 0; k < n; ++k) {
        size_t pivot = k;
        for (size_t i = k + 1; i < n; ++i) {
            pivot = std::abs(M[i][k]) > std::abs(M[pivot][k]) ? i : pivot;
        }
        if (!(std::abs(M[pivot][k]) > smallest)) {
            return std::nullopt;
        }
        std::swap(M[k], M[pivot]);
        std::swap(r[k], r[pivot]);
        for (size_t i = k + 1; i < n; ++i) {
            const double factor = M[i][k] / M[k][k];
            for (size_t j = k; j < n; ++j) {
                M[i][j] -= factor * M[k][j];
            }
            r[i] -= factor * r[k];
        }
    }
    for (size_t k = n; k-- > 0;) {
        for (size_t j = k + 1; j < n; ++j) {
            r[k] -= M[k][j] * r[j];
        }
        r[k] /= M[k][k];
    }
    return r;
}

inline double dot(const std::vector<double>& a, const std::vector<double>& b) {
    double sum = 0.0;
    for (size_t i = 0; i < a.size(); ++i) {
        sum += a[i] * b[i];
    }
    return sum;
}

/// ½xᵀHx + cᵀx; an empty H counts as zero.
inline double objectiveAt(const Problem& problem, const std::vector<double>& x) {
    double value = dot(problem.c, x);
    for (size_t i = 0; i < problem.H.size(); ++i) {
        value += 0.5 * x[i] * dot(problem.H[i], x);
    }
    return value;
}

/// row·x ≤ rhs (or = rhs). `number` is the position of its multiplier.
struct RowConstraint {
    std::vector<double> row;
    double rhs;
    size_t number;
    bool isEquality = false;
};

/// Equalities, rows of A, then the finite bounds as rows: −x_i ≤ −lb_i, x_i ≤ ub_i.
inline std::vector<RowConstraint> constraintsOf(const Problem& problem) {
    std::vector<RowConstraint> result;
    size_t number = 0;
    const auto add = [&](const Rows& rows, const std::vector<double>& rhs, bool areEqualities) {
        for (size_t i = 0; i < rows.size(); ++i) {
            result.push_back({rows[i], rhs[i], number++, areEqualities});
        }
    };
    const auto addBounds = [&](const std::vector<double>& bounds, double sign) {
        for (size_t i = 0; i < problem.n(); ++i, ++number) {
            if (std::isfinite(bounds[i])) {
                std::vector<double> row(problem.n(), 0.0);
                row[i] = sign;
                result.push_back({row, sign * bounds[i], number});
            }
        }
    };
    add(problem.Aeq, problem.beq, true);
    add(problem.A, problem.b, false);
    addBounds(problem.lower(), -1.0);
    addBounds(problem.upper(), 1.0);
    return result;
}

}  // namespace activeset::test

#endif
