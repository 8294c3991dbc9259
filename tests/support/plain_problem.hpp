// Facts about a problem without the solver: its constraints as rows, its objective, and whether it
// is feasible. Shares neither code nor method with the library.
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

/// A violation that every point with entries up to a million has, at least, in some constraint:
/// shown by multipliers that add the constraints up to a contradiction. Zero proves nothing.
///
/// The simplex method on the dual of: minimise γ, every inequality relaxed by γ. The
/// multipliers that it ends with are evaluated apart from its tableau.
///
/// @pre the equalities are consistent
inline double provenViolation(const Problem& problem) {
    using Real = long double;
    constexpr Real Tiny = 1e-13L;
    const std::vector<RowConstraint> all = constraintsOf(problem);
    const size_t n = problem.n();
    // Columns of the tableau: a multiplier for each constraint, scaled by its row; negative ones
    // for the equalities; that of γ ≥ 0; the right-hand side. Artificial ones, for the basis of the
    // first n rows to start with, need not be written down.
    std::vector<std::vector<Real>> columns;
    const auto scaleOf = [](const RowConstraint& constraint) {
        double scale = 0.0;
        for (const double entry : constraint.row) {
            scale = std::max(scale, std::abs(entry));
        }
        return scale > 0.0 ? scale : 1.0;
    };
    const auto addColumn = [&](const RowConstraint& constraint, Real scale) {
        std::vector<Real> column(constraint.row.begin(), constraint.row.end());
        column.insert(column.end(), {constraint.isEquality ? 0.0L : 1.0L, -Real{constraint.rhs}});
        std::ranges::transform(column, column.begin(), [&](Real entry) { return entry / scale; });
        columns.push_back(column);
    };
    for (const RowConstraint& constraint : all) {
        addColumn(constraint, scaleOf(constraint));
    }
    for (size_t k = 0; k < problem.Aeq.size(); ++k) {
        addColumn(all[k], -scaleOf(all[k]));
    }
    columns.emplace_back(n + 2, 0.0L).at(n) = 1.0L;
    const size_t real = columns.size();
    columns.push_back(columns.back());
    std::vector<Real>& value = columns.back();
    std::vector<size_t> basis(n + 1, real);
    basis[n] = real - 1;
    const auto pivot = [&](size_t row, size_t entering) {
        const std::vector<Real> of = columns[entering];
        for (std::vector<Real>& column : columns) {
            const Real ratio = column[row] / of[row];
            for (size_t i = 0; i < column.size() && ratio != 0.0L; ++i) {
                column[i] = i == row ? ratio : column[i] - of[i] * ratio;
            }
        }
        basis[row] = entering;
    };
    constexpr size_t None = std::numeric_limits<size_t>::max();
    for (;;) {  // artificial ones leave; they are at level zero, so that any sign of the pivot will
                // do
        size_t row = None;
        size_t entering = 0;
        Real largest = Tiny;
        for (size_t j = 0; j < real; ++j) {
            for (size_t i = 0; i < n; ++i) {
                if (basis[i] == real && std::abs(columns[j][i]) > largest) {
                    largest = std::abs(columns[j][i]);
                    row = i;
                    entering = j;
                }
            }
        }
        if (row == None) {
            break;
        }
        pivot(row, entering);
    }
    // The steepest column and the largest pivot, for accuracy; later Bland's rule, which cannot
    // cycle.
    for (int passes = 0; passes < 1000; ++passes) {
        const bool isBland = passes > 100;
        const auto gain = [&](const auto& column) {
            return isBland ? std::min(column[n + 1], Tiny) : column[n + 1];
        };
        const auto entering = static_cast<size_t>(
            std::max_element(columns.begin(), columns.end() - 1,
                             [&](const auto& p, const auto& q) { return gain(p) < gain(q); }) -
            columns.begin());
        const std::vector<Real>& column = columns[entering];
        size_t row = None;
        const auto ratio = [&](size_t i) { return std::max(value[i], 0.0L) / column[i]; };
        for (size_t i = 0; i <= n && column[n + 1] >= Tiny; ++i) {
            if (basis[i] < real && column[i] > Tiny &&
                (row == None || ratio(i) < ratio(row) ||
                 (ratio(i) == ratio(row) &&
                  (isBland ? basis[i] < basis[row] : column[i] > column[row])))) {
                row = i;
            }
        }
        if (row == None) {
            break;
        }
        pivot(row, entering);
    }
    Real proven = 0.0L;
    Real total = 0.0L;
    std::vector<Real> sum(n, 0.0L);
    for (size_t i = 0; i <= n; ++i) {
        if (basis[i] + 1 >= real) {
            continue;  // γ's or artificial
        }
        const bool isNegative = basis[i] >= all.size();
        const RowConstraint& constraint = all[isNegative ? basis[i] - all.size() : basis[i]];
        const Real multiplier = std::max(value[i], 0.0L) / scaleOf(constraint);
        total += constraint.isEquality ? 0.0L : multiplier;
        proven -= (isNegative ? -multiplier : multiplier) * constraint.rhs;
        for (size_t j = 0; j < n; ++j) {
            sum[j] += (isNegative ? -multiplier : multiplier) * constraint.row[j];
        }
    }
    for (const Real entry : sum) {
        proven -= 1e6L * std::abs(entry);
    }
    return static_cast<double>(proven / std::max(total, 1.0L));
}

}  // namespace activeset::test

#endif
