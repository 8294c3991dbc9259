// Products and the two rank-revealing factorisations; see Golub and Van Loan, Matrix Computations,
// on QR with column pivoting and on the Cholesky factorisation of semidefinite matrices.
#include "frontend/dense.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

#include "frontend/algebra/largest.hpp"
#include "host/lapack.hpp"

namespace activeset::frontend {

namespace {

using Mutable = BasicBlock<double>;
using Constant = BasicBlock<const double>;

Mutable viewOf(Dense& matrix) {
    return {matrix.values.data(), matrix.rows, matrix.cols};
}

Constant viewOf(const Dense& matrix) {
    return {matrix.values.data(), matrix.rows, matrix.cols};
}

Constant columns(const Dense& matrix, std::size_t count) {
    return {matrix.values.data(), matrix.rows, count};
}

Constant triangle(const Dense& matrix, std::size_t order) {
    return {matrix.values.data(), order, order, matrix.rows};
}

Dense multiply(Op op, const Dense& a, const Dense& b) {
    Dense result(op == Op::None ? a.rows : a.cols, b.cols);
    if (a.rows * a.cols != 0) {
        blas::gemm(op, Op::None, 1.0, viewOf(a), viewOf(b), 0.0, viewOf(result));
    }
    return result;
}

// The columns get lengths from 1 to 2, by powers of two; those of zeros stay. The factors.
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

double dot(const double* a, const double* b, std::size_t count) {
    // Four sums, in a fixed order: the compiler may not change it, and one would wait for itself.
    double sums[4] = {0.0, 0.0, 0.0, 0.0};  // NOLINT(modernize-avoid-c-arrays): registers
    std::size_t i = 0;
    for (; i + 4 <= count; i += 4) {
        for (std::size_t k = 0; k < 4; ++k) {
            sums[k] += a[i + k] * b[i + k];
        }
    }
    for (; i < count; ++i) {
        sums[0] += a[i] * b[i];
    }
    return (sums[0] + sums[2]) + (sums[1] + sums[3]);
}

void axpy(double factor, const double* x, double* y, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        y[i] += factor * x[i];
    }
}

Dense product(const Dense& a, const Dense& b) {
    return multiply(Op::None, a, b);
}

Dense transposedProduct(const Dense& a, const Dense& b) {
    return multiply(Op::Transpose, a, b);
}

Vector transposedProduct(const Dense& a, const Vector& x) {
    Vector result(a.cols, 0.0);
    blas::gemv(Op::Transpose, 1.0, viewOf(a), x.data(), 0.0, result.data());
    return result;
}

Vector product(const Vector& a, std::size_t rows, const Vector& x) {
    Vector result(rows, 0.0);
    blas::gemv(Op::None, 1.0, Constant(a.data(), rows, x.size()), x.data(), 0.0, result.data());
    return result;
}

void addProduct(const Dense& a, const Vector& x, Vector& y) {
    blas::gemv(Op::None, 1.0, viewOf(a), x.data(), 1.0, y.data());
}

double largestDiagonal(const Dense& a) {
    double largest = 0.0;
    for (std::size_t k = 0; k < a.rows; ++k) {
        largest = std::max(largest, a(k, k));
    }
    return largest;
}

bool factoriseUpper(Dense& a, double tolerance) {
    const double largest = largestDiagonal(a);
    if (a.rows == 0) {
        return true;
    }
    if (lapack::potrf(viewOf(a)) != 0) {
        return false;
    }
    for (std::size_t k = 0; k < a.rows; ++k) {
        if (!(a(k, k) * a(k, k) > tolerance * largest)) {
            return false;
        }
    }
    return true;
}

void solveUpper(const Dense& a, double* b, std::size_t count) {
    lapack::trtrs(triangle(a, a.rows), {b, a.rows, count});
}

void solveUpperTransposed(const Dense& a, double* b, std::size_t count) {
    lapack::trtrsTransposed(triangle(a, a.rows), {b, a.rows, count});
}

double largestMagnitude(const Vector& values) {
    return largestMagnitude(values.data(), values.size());
}

PivotedQr::PivotedQr(Dense matrix)
    : factors_(normalise(matrix)),
      packed_(std::move(matrix)),
      scales_(std::min(packed_.rows, packed_.cols), 0.0),
      pivots_(packed_.cols, 0) {
    constexpr double Dependent = 1e-11;  // of the length of a column
    if (scales_.empty()) {
        return;
    }
    lapack::geqp3(viewOf(packed_), pivots_.data(), scales_.data());
    for (const std::size_t steps = scales_.size(); rank_ < steps; ++rank_) {
        if (!(std::abs(packed_(rank_, rank_)) > Dependent)) {
            break;
        }
    }
}

void PivotedQr::applyTransposed(double* v) const {
    lapack::ormqr(Op::Transpose, columns(packed_, rank_), scales_.data(), {v, packed_.rows, 1});
}

void PivotedQr::apply(double* v) const {
    lapack::ormqr(Op::None, columns(packed_, rank_), scales_.data(), {v, packed_.rows, 1});
}

void PivotedQr::multiplyByFactors(double* v) const {
    for (std::size_t k = 0; k < rank_; ++k) {
        v[k] *= factors_[pivot(k)];
    }
}

void PivotedQr::solve(double* v) const {
    lapack::trtrs(triangle(packed_, rank_), {v, rank_, 1});
    multiplyByFactors(v);
}

void PivotedQr::solveTransposed(double* v) const {
    multiplyByFactors(v);
    lapack::trtrsTransposed(triangle(packed_, rank_), {v, rank_, 1});
}

Dense PivotedQr::nullSpace() const {
    Dense basis(packed_.rows, packed_.rows - rank_);
    for (std::size_t j = 0; j < basis.cols; ++j) {
        basis(rank_ + j, j) = 1.0;
    }
    lapack::ormqr(Op::None, columns(packed_, rank_), scales_.data(), viewOf(basis));
    return basis;
}

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
    blas::trsvLower(Op::None, triangle(factor_, rank_), permuted.data());
    blas::trsvLower(Op::Transpose, triangle(factor_, rank_), permuted.data());
    for (std::size_t k = 0; k < factor_.rows; ++k) {
        v[pivot(k)] = permuted[k];
    }
}

// M₂₂ − W·Wᵀ, W the rows of L behind the rank: what the factorisation would have gone on with.
Dense PivotedCholesky::schurComplement(const Dense& matrix) const {
    Dense rest(factor_.rows - rank_, factor_.rows - rank_);
    for (std::size_t j = 0; j < rest.cols; ++j) {
        for (std::size_t i = 0; i < rest.rows; ++i) {
            rest(i, j) = matrix(pivot(rank_ + i), pivot(rank_ + j));
        }
    }
    if (rank_ != 0) {
        const Constant below(factor_.values.data() + rank_, rest.rows, rank_, factor_.rows);
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
    blas::trsvLower(Op::Transpose, triangle(factor_, rank_), leading.data());
    leading[j] += ofJ;
    leading[i] += ofI;
    const double largest = largestMagnitude(leading);
    negative_.assign(n, 0.0);
    for (std::size_t k = 0; k < n; ++k) {
        negative_[pivot(k)] = leading[k] / largest;
    }
}

}  // namespace activeset::frontend
