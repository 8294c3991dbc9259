// Proves that a problem is infeasible, by how much at least, without the solver. It shares neither
// code nor method with the library.
#ifndef ACTIVESET_TESTS_SOLVE_PROVEN_VIOLATION_HPP
#define ACTIVESET_TESTS_SOLVE_PROVEN_VIOLATION_HPP

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "support/plain_problem.hpp"

namespace activeset::test {

/// The simplex method on the dual of: minimise γ, every inequality relaxed by γ.
class DualOfRelaxed {
public:
    /// @pre the equalities are consistent
    explicit DualOfRelaxed(const Problem& problem)
        : all_(constraintsOf(problem)), n_(problem.n()), basis_(n_ + 1) {
        for (const RowConstraint& constraint : all_) {
            addColumn(constraint, scaleOf(constraint));
        }
        for (size_t k = 0; k < problem.Aeq.size(); ++k) {
            addColumn(all_[k], -scaleOf(all_[k]));
        }
        columns_.emplace_back(n_ + 2, 0.0L).at(n_) = 1.0L;
        real_ = columns_.size();
        columns_.push_back(columns_.back());
        std::ranges::fill(basis_, real_);
        basis_[n_] = real_ - 1;
    }

    void solve() {
        removeArtificialVariables();
        // The steepest column and the largest pivot, for accuracy; later Bland's rule, which cannot
        // cycle.
        for (int passes = 0; passes < 1000 && step(passes > 100); ++passes) {
        }
    }

    /// The violation that the multipliers prove; they are evaluated apart from the tableau.
    [[nodiscard]] double provenViolation() const {
        Real proven = 0.0L;
        Real total = 0.0L;
        std::vector<Real> sum(n_, 0.0L);
        for (size_t i = 0; i <= n_; ++i) {
            if (basis_[i] + 1 >= real_) {
                continue;  // γ's or artificial
            }
            const bool isNegative = basis_[i] >= all_.size();
            const RowConstraint& constraint =
                all_[isNegative ? basis_[i] - all_.size() : basis_[i]];
            const Real multiplier = std::max(columns_.back()[i], 0.0L) / scaleOf(constraint);
            total += constraint.isEquality ? 0.0L : multiplier;
            proven -= (isNegative ? -multiplier : multiplier) * constraint.rhs;
            for (size_t j = 0; j < n_; ++j) {
                sum[j] += (isNegative ? -multiplier : multiplier) * constraint.row[j];
            }
        }
        for (const Real entry : sum) {
            proven -= 1e6L * std::abs(entry);
        }
        return static_cast<double>(proven / std::max(total, 1.0L));
    }

private:
    using Real = long double;
    static constexpr Real Tiny = 1e-13L;
    static constexpr size_t None = std::numeric_limits<size_t>::max();

    static double scaleOf(const RowConstraint& constraint) {
        double scale = 0.0;
        for (const double entry : constraint.row) {
            scale = std::max(scale, std::abs(entry));
        }
        return scale > 0.0 ? scale : 1.0;
    }

    void addColumn(const RowConstraint& constraint, Real scale) {
        std::vector<Real> column(constraint.row.begin(), constraint.row.end());
        column.insert(column.end(), {constraint.isEquality ? 0.0L : 1.0L, -Real{constraint.rhs}});
        std::ranges::transform(column, column.begin(), [&](Real entry) { return entry / scale; });
        columns_.push_back(column);
    }

    void pivot(size_t row, size_t entering) {
        const std::vector<Real> of = columns_[entering];
        for (std::vector<Real>& column : columns_) {
            const Real ratio = column[row] / of[row];
            for (size_t i = 0; i < column.size() && ratio != 0.0L; ++i) {
                column[i] = i == row ? ratio : column[i] - of[i] * ratio;
            }
        }
        basis_[row] = entering;
    }

    /// Artificial variables are zero, so a pivot of either sign will do.
    void removeArtificialVariables() {
        for (size_t row = 0; row != None;) {
            row = None;
            size_t entering = 0;
            Real largest = Tiny;
            for (size_t j = 0; j < real_; ++j) {
                for (size_t i = 0; i < n_; ++i) {
                    if (basis_[i] == real_ && std::abs(columns_[j][i]) > largest) {
                        largest = std::abs(columns_[j][i]);
                        row = i;
                        entering = j;
                    }
                }
            }
            if (row != None) {
                pivot(row, entering);
            }
        }
    }

    /// One step of the simplex method. False if none is left.
    bool step(bool isBland) {
        const auto gain = [&](const auto& column) {
            return isBland ? std::min(column[n_ + 1], Tiny) : column[n_ + 1];
        };
        const auto entering = static_cast<size_t>(
            std::max_element(columns_.begin(), columns_.end() - 1,
                             [&](const auto& p, const auto& q) { return gain(p) < gain(q); }) -
            columns_.begin());
        const std::vector<Real>& column = columns_[entering];
        const auto ratio = [&](size_t i) { return std::max(columns_.back()[i], 0.0L) / column[i]; };
        size_t row = None;
        for (size_t i = 0; i <= n_ && column[n_ + 1] >= Tiny; ++i) {
            if (basis_[i] < real_ && column[i] > Tiny &&
                (row == None || ratio(i) < ratio(row) ||
                 (ratio(i) == ratio(row) &&
                  (isBland ? basis_[i] < basis_[row] : column[i] > column[row])))) {
                row = i;
            }
        }
        if (row != None) {
            pivot(row, entering);
        }
        return row != None;
    }

    std::vector<RowConstraint> all_;
    size_t n_;
    /// The tableau: a multiplier for each constraint, scaled by its row; the negative ones of the
    /// equalities; that of γ ≥ 0; the right-hand side. The artificial ones, the first basis of the
    /// first n rows, need no columns.
    std::vector<std::vector<Real>> columns_{};
    std::vector<size_t> basis_;
    size_t real_ = 0;  ///< columns of variables that are not artificial
};

/// A violation that every point with entries up to a million has at least, in some constraint. It
/// is shown by multipliers with which the constraints add up to a contradiction. Zero proves
/// nothing.
///
/// @pre the equalities are consistent
inline double provenViolation(const Problem& problem) {
    DualOfRelaxed dual(problem);
    dual.solve();
    return dual.provenViolation();
}

}  // namespace activeset::test

#endif
