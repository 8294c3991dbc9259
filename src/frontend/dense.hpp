// The front end's dense linear algebra: BLAS and LAPACK, behind factorisations that reveal rank.
#ifndef ACTIVESET_SRC_FRONTEND_DENSE_HPP
#define ACTIVESET_SRC_FRONTEND_DENSE_HPP

#include <cstddef>
#include <cstdint>
#include <vector>

#include "frontend/vector.hpp"

namespace activeset::frontend {

/// Column-major, without gaps.
struct Dense {
    Dense() = default;
    Dense(std::size_t rowCount, std::size_t colCount)
        : rows(rowCount), cols(colCount), values(rowCount * colCount, 0.0) {}

    [[nodiscard]] double* column(std::size_t j) { return values.data() + j * rows; }
    [[nodiscard]] const double* column(std::size_t j) const { return values.data() + j * rows; }
    [[nodiscard]] double& operator()(std::size_t i, std::size_t j) { return column(j)[i]; }
    [[nodiscard]] double operator()(std::size_t i, std::size_t j) const { return column(j)[i]; }

    std::size_t rows = 0;
    std::size_t cols = 0;
    Vector values;
};

[[nodiscard]] double dot(const double* a, const double* b, std::size_t count);
/// y += factor·x
void axpy(double factor, const double* x, double* y, std::size_t count);
/// a·b and aᵀ·b.
[[nodiscard]] Dense product(const Dense& a, const Dense& b);
[[nodiscard]] Dense transposedProduct(const Dense& a, const Dense& b);
[[nodiscard]] Vector transposedProduct(const Dense& a, const Vector& x);
/// a·x, a with so many rows, column-major without gaps.
[[nodiscard]] Vector product(const Vector& a, std::size_t rows, const Vector& x);
/// y += a·x
void addProduct(const Dense& a, const Vector& x, Vector& y);

/// 0 where none is positive.
[[nodiscard]] double largestDiagonal(const Dense& a);
/// a := its upper Cholesky factor; false, a destroyed, unless every pivot is greater than
/// `tolerance` times the largest diagonal entry.
[[nodiscard]] bool factoriseUpper(Dense& a, double tolerance);
/// The `count` columns of b := U⁻¹·b and U⁻ᵀ·b, U the upper triangle of a.
void solveUpper(const Dense& a, double* b, std::size_t count);
void solveUpperTransposed(const Dense& a, double* b, std::size_t count);

[[nodiscard]] double largestMagnitude(const Vector& values);

/// B·D = Q·R·Pᵀ, rows × cols, Householder with column pivoting; D, powers of two, brings the
/// columns to length 1, so that each is measured by its own size. Columns that depend on those
/// before them are behind `rank`.
class PivotedQr {
public:
    explicit PivotedQr(Dense matrix);

    [[nodiscard]] std::size_t rank() const { return rank_; }
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

/// M = P·L·Lᵀ·Pᵀ with pivoting on the diagonal, as far as M is positive: `rank` columns.
class PivotedCholesky {
public:
    /// M symmetric, both halves; pivots up to `negligible`, an absolute size, are zeros. It has to
    /// come from what M was formed of: where that cancels, all of M may be rounding.
    PivotedCholesky(Dense matrix, double negligible);

    [[nodiscard]] std::size_t rank() const { return rank_; }
    [[nodiscard]] bool isPositiveDefinite() const { return rank_ == factor_.rows; }
    /// v := a solution of M·v = r for an r in the range of M; entries behind the rank become 0.
    void solve(double* v) const;
    /// Where M has a negative eigenvalue as far as the factor tells: a v with vᵀMv < 0, largest
    /// entry 1; else empty.
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
