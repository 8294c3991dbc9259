// Cholesky with pivoting on the diagonal; see Golub and Van Loan, Matrix Computations, on
// semidefinite matrices.
#include "frontend/algebra/pivoted_cholesky.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

#include "frontend/algebra/dense_views.hpp"
#include "host/lapack.hpp"

namespace activeset::frontend {

PivotedCholesky::PivotedCholesky(Dense matrix, double negligible)
    : factor_(std::move(matrix)), pivots_(factor_.rows, 0) {
    if (factor_.rows == 0) {
        return;
    }
    const Dense original = factor_;
    // LAPACK takes the first pivot without asking whether it is negligible.
    if (largestDiagonal(factor_) > negligible) {
        Int rank = 0;
        lapack::pstrf(viewOf(factor_), pivots_.data(), &rank, negligible);
        rank_ = static_cast<std::size_t>(rank);
    } else {
        std::iota(pivots_.begin(), pivots_.end(), 1);
    }
    if (!isPositiveDefinite()) {
        findNegative(schurComplement(original), negligible);
    }
}

void PivotedCholesky::solve(double* v) const {
    Vector permuted(factor_.rows, 0.0);
    for (std::size_t k = 0; k < rank_; ++k) {
        permuted[k] = v[pivot(k)];
    }
    blas::trsvLower(Op::None, leadingBlock(factor_, rank_), permuted.data());
    blas::trsvLower(Op::Transpose, leadingBlock(factor_, rank_), permuted.data());
    for (std::size_t k = 0; k < factor_.rows; ++k) {
        v[pivot(k)] = permuted[k];
    }
}

// M₂₂ − W·Wᵀ, W being the rows of L behind the rank: what the factorisation would go on with.
Dense PivotedCholesky::schurComplement(const Dense& matrix) const {
    Dense rest(factor_.rows - rank_, factor_.rows - rank_);
    for (std::size_t j = 0; j < rest.cols; ++j) {
        for (std::size_t i = 0; i < rest.rows; ++i) {
            rest(i, j) = matrix(pivot(rank_ + i), pivot(rank_ + j));
        }
    }
    if (rank_ != 0) {
        const ConstBlock below(factor_.values.data() + rank_, rest.rows, rank_, factor_.rows);
        blas::gemm(Op::None, Op::Transpose, -1.0, below, below, 1.0, viewOf(rest));
    }
    return rest;
}

// The Schur complement S has a direction of negative curvature where a diagonal entry is negative,
// or where an entry beside the diagonal outweighs the two diagonal entries that belong to it.
void PivotedCholesky::findNegative(const Dense& rest, double negligible) {
    double lowest = -negligible;
    for (std::size_t j = 0; j < rest.cols; ++j) {
        if (rest(j, j) < lowest) {
            lowest = rest(j, j);
            setNegative(rank_ + j, 1.0, rank_ + j, 0.0);
        }
        for (std::size_t i = j + 1; i < rest.rows; ++i) {
            const double entry = rest(i, j);
            const double curvature = rest(i, i) + rest(j, j) - 2.0 * std::abs(entry);
            if (0.5 * curvature < lowest) {
                lowest = 0.5 * curvature;
                setNegative(rank_ + i, 1.0, rank_ + j, entry > 0.0 ? -1.0 : 1.0);
            }
        }
    }
}

// With M = [M₁ Wᵀ; W ·], the direction (−M₁⁻¹Wᵀs, s) has the curvature sᵀS·s.
void PivotedCholesky::setNegative(std::size_t i, double ofI, std::size_t j, double ofJ) {
    const std::size_t n = factor_.rows;
    Vector leading(n, 0.0);
    for (std::size_t k = 0; k < rank_; ++k) {
        leading[k] = -(ofI * factor_(i, k) + ofJ * factor_(j, k));
    }
    blas::trsvLower(Op::Transpose, leadingBlock(factor_, rank_), leading.data());
    leading[j] += ofJ;
    leading[i] += ofI;
    const double largest = largestMagnitude(leading);
    negative_.assign(n, 0.0);
    for (std::size_t k = 0; k < n; ++k) {
        negative_[pivot(k)] = leading[k] / largest;
    }
}

}  // namespace activeset::frontend
