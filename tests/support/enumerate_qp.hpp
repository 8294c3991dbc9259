// The optimum of a small strictly convex program by trying every working set: slow, but it shares
// neither code nor method with the solver.
#ifndef ACTIVESET_TESTS_SUPPORT_ENUMERATE_QP_HPP
#define ACTIVESET_TESTS_SUPPORT_ENUMERATE_QP_HPP

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "support/build.hpp"

namespace activeset::test {

/// Solves M·x = r by elimination with partial pivoting; nothing when a pivot is below `smallest`.
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

/// row·x ≤ rhs (or = rhs). The number is the place of its multiplier.
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

/// The only point that fulfils the optimality conditions, or nothing when no point is feasible.
///
/// At the optimum some linearly independent set of active constraints has multipliers of the right
/// sign, so trying every set, at most n constraints each, must find it.
///
/// @pre H is positive definite, the equalities are linearly independent, numbers of order one
inline std::optional<std::vector<double>> enumeratedOptimum(const Problem& problem) {
    constexpr double Tolerance = 1e-9;
    const size_t n = problem.n();
    const size_t equalities = problem.Aeq.size();
    const std::vector<RowConstraint> all = constraintsOf(problem);
    for (std::uint32_t set = 0; set < std::uint32_t{1} << (all.size() - equalities); ++set) {
        const size_t size = n + equalities + static_cast<size_t>(std::popcount(set));
        if (size > 2 * n) {
            continue;
        }
        Rows kkt = problem.H;
        std::vector<double> rhs = problem.c;
        std::transform(rhs.begin(), rhs.end(), rhs.begin(), std::negate<>());
        for (size_t k = 0; k < all.size(); ++k) {
            if (k < equalities || (set >> (k - equalities) & 1U) != 0) {
                kkt.push_back(all[k].row);
                rhs.push_back(all[k].rhs);
            }
        }
        for (size_t i = 0; i < size; ++i) {
            kkt[i].resize(size, 0.0);
            for (size_t k = n; k < size && i < n; ++k) {
                kkt[i][k] = kkt[k][i];
            }
        }
        const auto solution = eliminate(kkt, rhs, Tolerance);
        if (!solution) {
            continue;
        }
        const auto multipliers = solution->begin() + static_cast<std::ptrdiff_t>(n);
        const std::vector<double> x(solution->begin(), multipliers);
        const bool isDualFeasible =
            std::all_of(multipliers + static_cast<std::ptrdiff_t>(equalities), solution->end(),
                        [](double multiplier) { return multiplier >= -Tolerance; });
        const bool isFeasible = std::ranges::all_of(all, [&](const RowConstraint& constraint) {
            return constraint.isEquality || dot(constraint.row, x) - constraint.rhs <= Tolerance;
        });
        if (isDualFeasible && isFeasible) {
            return x;
        }
    }
    return std::nullopt;
}

}  // namespace activeset::test

#endif
