// QR with column pivoting; see Golub and Van Loan, Matrix Computations.
#include "frontend/algebra/pivoted_qr.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "frontend/algebra/dense_views.hpp"
#include "host/lapack.hpp"

namespace activeset::frontend {

namespace {

// Scales the columns by powers of two to lengths from 1 to 2, but for columns of zeros. Returns the
// factors.
Vector normalise(Dense& matrix) {
    Vector factors(matrix.cols, 1.0);
    for (std::size_t j = 0; j < matrix.cols; ++j) {
        const double length = std::sqrt(dot(matrix.column(j), matrix.column(j), matrix.rows));
        if (length > 0.0 && std::isfinite(length)) {
            factors[j] = std::ldexp(1.0, -std::ilogb(length));
        }
        for (std::size_t i = 0; i < matrix.rows && factors[j] != 1.0; ++i) {
            matrix(i, j) *= factors[j];
        }
    }
    return factors;
}

}  // namespace

PivotedQr::PivotedQr(Dense matrix, double dependent)
    : factors_(normalise(matrix)),
      packed_(std::move(matrix)),
      scales_(std::min(packed_.rows, packed_.cols), 0.0),
      pivots_(packed_.cols, 0) {
    if (scales_.empty()) {
        return;
    }
    lapack::geqp3(viewOf(packed_), pivots_.data(), scales_.data());
    for (const std::size_t steps = scales_.size(); rank_ < steps; ++rank_) {
        if (!(std::abs(packed_(rank_, rank_)) > dependent)) {
            break;
        }
    }
}

bool PivotedQr::isNearlyDependent() const {
    constexpr double NearlyDependentColumns = 1e-4;  // what is left of one, its length near 1
    for (std::size_t k = 0; k < scales_.size(); ++k) {
        if (std::abs(packed_(k, k)) < NearlyDependentColumns) {
            return true;
        }
    }
    return false;
}

void PivotedQr::applyTransposed(double* v) const {
    lapack::ormqr(Op::Transpose, columnsOf(packed_, 0, rank_), scales_.data(),
                  {v, packed_.rows, 1});
}

void PivotedQr::apply(double* v) const {
    lapack::ormqr(Op::None, columnsOf(packed_, 0, rank_), scales_.data(), {v, packed_.rows, 1});
}

void PivotedQr::multiplyByFactors(double* v) const {
    for (std::size_t k = 0; k < rank_; ++k) {
        v[k] *= factors_[pivot(k)];
    }
}

void PivotedQr::solve(double* v) const {
    lapack::trtrs(leadingBlock(packed_, rank_), {v, rank_, 1});
    multiplyByFactors(v);
}

void PivotedQr::solveTransposed(double* v) const {
    multiplyByFactors(v);
    lapack::trtrsTransposed(leadingBlock(packed_, rank_), {v, rank_, 1});
}

Dense PivotedQr::nullSpace() const {
    Dense basis(packed_.rows, packed_.rows - rank_);
    for (std::size_t j = 0; j < basis.cols; ++j) {
        basis(rank_ + j, j) = 1.0;
    }
    lapack::ormqr(Op::None, columnsOf(packed_, 0, rank_), scales_.data(), viewOf(basis));
    return basis;
}

}  // namespace activeset::frontend
