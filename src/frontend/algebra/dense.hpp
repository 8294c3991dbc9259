// Dense matrices, their products and triangular factors, by BLAS and LAPACK.
#ifndef ACTIVESET_SRC_FRONTEND_ALGEBRA_DENSE_HPP
#define ACTIVESET_SRC_FRONTEND_ALGEBRA_DENSE_HPP

#include <cstddef>
#include <span>
#include <vector>

#include "frontend/algebra/large_vector.hpp"

namespace activeset::frontend {

/// Column-major, without gaps.
struct Dense {
    Dense() = default;
    Dense(std::size_t rowCount, std::size_t colCount)
        : rows(rowCount), cols(colCount), values(rowCount * colCount, 0.0) {}
    /// A square matrix whose entries nobody may read before they are written.
    [[nodiscard]] static Dense unwritten(std::size_t order) {
        Dense result;
        result.rows = result.cols = order;
        result.values = LargeVector::unwritten(order * order);
        return result;
    }

    [[nodiscard]] double* column(std::size_t j) { return values.data() + j * rows; }
    [[nodiscard]] const double* column(std::size_t j) const { return values.data() + j * rows; }
    [[nodiscard]] double& operator()(std::size_t i, std::size_t j) { return column(j)[i]; }
    [[nodiscard]] double operator()(std::size_t i, std::size_t j) const { return column(j)[i]; }

    std::size_t rows = 0;
    std::size_t cols = 0;
    LargeVector values;
};

[[nodiscard]] double dot(const double* a, const double* b, std::size_t count);
/// y += factor·x
void axpy(double factor, const double* x, double* y, std::size_t count);
/// a·b and aᵀ·b.
[[nodiscard]] Dense product(const Dense& a, const Dense& b);
[[nodiscard]] Dense transposedProduct(const Dense& a, const Dense& b);
[[nodiscard]] Vector transposedProduct(const Dense& a, const Vector& x);
/// a·x; a has `rows` rows, column-major without gaps.
[[nodiscard]] Vector product(std::span<const double> a, std::size_t rows, const Vector& x);
/// y += a·x
void addProduct(const Dense& a, const Vector& x, Vector& y);

/// The largest diagonal entry; 0 if none is positive.
[[nodiscard]] double largestDiagonal(const Dense& a);
/// a := its upper Cholesky factor; false, a destroyed, unless every pivot is greater than
/// `tolerance` times the largest diagonal entry.
[[nodiscard]] bool factoriseUpper(Dense& a, double tolerance);
/// The same, its lower Cholesky factor L; only the lower triangle is read, and L is there alone.
[[nodiscard]] bool factoriseLower(Dense& a, double tolerance);
/// Whether the squared diagonal entries of a Cholesky factor all are above `tolerance` times the
/// largest one.
[[nodiscard]] bool hasClearPivots(const Dense& factor, double tolerance);
/// The `count` columns of b := U⁻¹·b and U⁻ᵀ·b, U the upper triangle of a.
void solveUpper(const Dense& a, double* b, std::size_t count);
void solveUpperTransposed(const Dense& a, double* b, std::size_t count);
/// b := L⁻¹·b and L⁻ᵀ·b, L the lower triangle of a.
void solveLower(const Dense& a, double* b, std::size_t count);
void solveLowerTransposed(const Dense& a, double* b, std::size_t count);

[[nodiscard]] double largestMagnitude(const Vector& values);
/// Whether none is infinite or NaN.
[[nodiscard]] bool areFinite(const double* values, std::size_t count);
[[nodiscard]] bool areFinite(const Vector& values);

}  // namespace activeset::frontend

#endif
