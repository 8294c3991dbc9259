// Views of dense matrices, and of parts of them, for BLAS and LAPACK.
#ifndef ACTIVESET_SRC_FRONTEND_ALGEBRA_DENSE_VIEWS_HPP
#define ACTIVESET_SRC_FRONTEND_ALGEBRA_DENSE_VIEWS_HPP

#include "frontend/algebra/dense.hpp"
#include "host/blas.hpp"

namespace activeset::frontend {

[[nodiscard]] inline Block viewOf(Dense& matrix) {
    return {matrix.values.data(), matrix.rows, matrix.cols};
}
[[nodiscard]] inline ConstBlock viewOf(const Dense& matrix) {
    return {matrix.values.data(), matrix.rows, matrix.cols};
}

/// `count` columns from the one in place `first` on.
[[nodiscard]] inline Block columnsOf(Dense& matrix, std::size_t first, std::size_t count) {
    return {matrix.column(first), matrix.rows, count};
}
[[nodiscard]] inline ConstBlock columnsOf(const Dense& matrix,
                                          std::size_t first,
                                          std::size_t count) {
    return {matrix.column(first), matrix.rows, count};
}

/// The leading block of so many rows and columns, whose triangle counts.
[[nodiscard]] inline ConstBlock leadingBlock(const Dense& matrix, std::size_t order) {
    return {matrix.values.data(), order, order, matrix.rows};
}

}  // namespace activeset::frontend

#endif
