// QR with column pivoting, which tells how many columns are independent.
#ifndef ACTIVESET_SRC_FRONTEND_ALGEBRA_PIVOTED_QR_HPP
#define ACTIVESET_SRC_FRONTEND_ALGEBRA_PIVOTED_QR_HPP

#include <cstddef>
#include <cstdint>
#include <vector>

#include "frontend/algebra/dense.hpp"

namespace activeset::frontend {

/// A column depends on those before it if they leave this part of its length.
inline constexpr double DependentColumns = 1e-11;

/// B·D = Q·R·Pᵀ, rows × cols, Householder with column pivoting; D, powers of two, brings the
/// columns to length 1, so that each is measured by its own size. Columns that depend on those
/// before them are behind `rank`.
class PivotedQr {
public:
    /// @param dependent  a column depends on those before it if they leave no more of its length
    explicit PivotedQr(Dense matrix, double dependent = DependentColumns);

    [[nodiscard]] std::size_t rank() const { return rank_; }
    /// Whether one of the first columns, as many as there are rows, nearly depends on those before
    /// it, or depends on them.
    [[nodiscard]] bool isNearlyDependent() const;
    /// The column of B in place k.
    [[nodiscard]] std::size_t pivot(std::size_t k) const {
        return static_cast<std::size_t>(pivots_[k] - 1);
    }
    /// v := Qᵀv, v := Q·v; `rows` entries.
    void applyTransposed(double* v) const;
    void apply(double* v) const;
    /// The first `rank` entries of v := S⁻¹v or S⁻ᵀv, S = Qᵀ·B·P without its dependent columns.
    void solve(double* v) const;
    void solveTransposed(double* v) const;
    /// An orthonormal basis of what is orthogonal to all columns, rows × (rows − rank).
    [[nodiscard]] Dense nullSpace() const;

private:
    void multiplyByFactors(double* v) const;

    Vector factors_;  // D
    Dense packed_;
    Vector scales_;
    std::vector<std::int64_t> pivots_;  // 1-based
    std::size_t rank_ = 0;
};

}  // namespace activeset::frontend

#endif
