// Matrices as BLAS and LAPACK see them.
#ifndef ACTIVESET_SRC_MATRIX_VIEWS_HPP
#define ACTIVESET_SRC_MATRIX_VIEWS_HPP

#include "activeset/matrix.hpp"
#include "host/blas.hpp"
#include "matrix/fault.hpp"

namespace activeset {

[[nodiscard]] inline bool isStoredFull(const OPTMatrix<double>& matrix) noexcept {
    return !matrix.isStoredCompressed();
}

/// Raises unless the matrix is stored full, which BLAS needs.
inline void requireFull(const OPTMatrix<double>& matrix) {
    if (matrix.isStoredCompressed()) {
        raiseMatrixFault("Matrix must be stored full");
    }
}

[[nodiscard]] inline Block viewOf(OPTMatrix<double>& matrix) {
    requireFull(matrix);
    return {matrix.getData(), matrix.getRows(), matrix.getCols()};
}

[[nodiscard]] inline ConstBlock viewOf(const OPTMatrix<double>& matrix) {
    requireFull(matrix);
    return {matrix.getData(), matrix.getRows(), matrix.getCols()};
}

/// The first `rowCount` rows of `count` columns from column `first`. Raises the fault of an
/// element access when the matrix does not have them.
[[nodiscard]] inline Block block(OPTMatrix<double>& matrix,
                                 size_t first,
                                 size_t count,
                                 size_t rowCount) {
    requireFull(matrix);
    if (rowCount > matrix.getRows()) {
        raiseMatrixFault("Index exceed number of row.");
    }
    if (first > matrix.getCols() || count > matrix.getCols() - first) {
        raiseMatrixFault("Index exceed number of columns.");
    }
    const size_t rows = matrix.getRows();
    return {matrix.getData() + first * rows, rowCount, count, rows};
}

[[nodiscard]] inline Block columns(OPTMatrix<double>& matrix, size_t first, size_t count) {
    return block(matrix, first, count, matrix.getRows());
}

/// The elements of a vector of at least n entries; raises "Index exceed number of row." otherwise.
[[nodiscard]] inline double* vectorOf(OPTMatrix<double>& matrix, size_t n) {
    requireFull(matrix);
    if (matrix.size() < n) {
        raiseMatrixFault("Index exceed number of row.");
    }
    return matrix.getData();
}

[[nodiscard]] inline const double* vectorOf(const OPTMatrix<double>& matrix, size_t n) {
    requireFull(matrix);
    if (matrix.size() < n) {
        raiseMatrixFault("Index exceed number of row.");
    }
    return matrix.getData();
}

/// aᵀ·b from the pool, without making a transposed array.
[[nodiscard]] OPTMatrix<double> transposedProduct(const OPTMatrix<double>& a,
                                                  const OPTMatrix<double>& b);

}  // namespace activeset

#endif
