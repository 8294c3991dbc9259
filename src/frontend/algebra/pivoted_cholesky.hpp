// Cholesky with pivoting, which tells the rank of a semidefinite matrix and finds negative
// curvature.
#ifndef ACTIVESET_SRC_FRONTEND_ALGEBRA_PIVOTED_CHOLESKY_HPP
#define ACTIVESET_SRC_FRONTEND_ALGEBRA_PIVOTED_CHOLESKY_HPP

#include <cstddef>
#include <cstdint>
#include <vector>

#include "frontend/algebra/dense.hpp"

namespace activeset::frontend {

/// M = P·L·Lᵀ·Pᵀ with pivoting on the diagonal, as far as M is positive: `rank` columns.
class PivotedCholesky {
public:
    /// Reads both halves of a symmetric M. Pivots up to `negligible`, which is absolute, count as
    /// zeros. It has to come from the matrices that M was formed of: where they cancel, all of M
    /// may be rounding.
    PivotedCholesky(Dense matrix, double negligible);

    [[nodiscard]] std::size_t rank() const { return rank_; }
    [[nodiscard]] bool isPositiveDefinite() const { return rank_ == factor_.rows; }
    /// v := a solution of M·v = r for an r in the range of M; entries behind the rank become 0.
    void solve(double* v) const;
    /// A v with vᵀMv < 0 and largest entry 1, if the factor shows that M has a negative eigenvalue;
    /// else empty.
    [[nodiscard]] const Vector& negativeDirection() const { return negative_; }

private:
    [[nodiscard]] std::size_t pivot(std::size_t k) const {
        return static_cast<std::size_t>(pivots_[k] - 1);
    }
    [[nodiscard]] Dense schurComplement(const Dense& matrix) const;
    void findNegative(const Dense& rest, double negligible);
    void setNegative(std::size_t i, double ofI, std::size_t j, double ofJ);

    Dense factor_;
    std::vector<std::int64_t> pivots_;  // 1-based
    std::size_t rank_ = 0;
    Vector negative_;
};

}  // namespace activeset::frontend

#endif
