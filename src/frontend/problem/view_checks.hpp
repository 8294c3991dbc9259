// Whether a caller's view has the shape that is expected, and memory for its elements.
#ifndef ACTIVESET_SRC_FRONTEND_PROBLEM_VIEW_CHECKS_HPP
#define ACTIVESET_SRC_FRONTEND_PROBLEM_VIEW_CHECKS_HPP

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "activeset/qp.hpp"

namespace activeset::frontend {

/// More doubles have no addresses.
inline constexpr std::size_t MostElements = PTRDIFF_MAX / sizeof(double);

/// Whether the elements of a matrix may be read. It is not empty.
[[nodiscard]] inline bool hasMemory(const MatrixView& matrix) {
    const bool byColumns = matrix.order() == Order::ColumnMajor;
    const std::size_t inner = byColumns ? matrix.rows() : matrix.cols();
    const std::size_t outer = byColumns ? matrix.cols() : matrix.rows();
    const std::size_t available = std::min(matrix.available(), MostElements);
    return matrix.data() != nullptr && matrix.leading() >= inner && available >= inner &&
           outer - 1 <= (available - inner) / matrix.leading();
}

/// Whether a matrix is absent, or has this shape and may be read.
[[nodiscard]] inline bool fits(const MatrixView& matrix, std::size_t rows, std::size_t cols) {
    return matrix.empty() || (matrix.rows() == rows && matrix.cols() == cols && hasMemory(matrix));
}

/// Whether a vector is absent, or has this length and may be read.
[[nodiscard]] inline bool fits(const VectorView& vector, std::size_t size) {
    return vector.empty() || (vector.size() == size && vector.data() != nullptr);
}

}  // namespace activeset::frontend

#endif
