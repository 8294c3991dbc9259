// Eigen's matrices as data of the front end and its results as Eigen's vectors, neither copied.
// Header only; the library itself does not know Eigen.
//
//     using activeset::eigen::map, activeset::eigen::view;
//     const auto r = activeset::solve({.H = view(H), .c = view(c), .A = view(A), .rowUpper =
//     view(b)}); if (r) { std::cout << map(r.x).transpose() << '\n'; }
//
// A view is no longer valid than the memory that it looks at: a matrix must stay where it is, and
// keep its size, until the solve has returned. A Solver copies at once. A map is valid while the
// result is there and its vector is not replaced.
#ifndef ACTIVESET_EIGEN_HPP
#define ACTIVESET_EIGEN_HPP

#include <Eigen/Core>
#include <concepts>
#include <cstddef>
#include <vector>

#include "activeset/qp.hpp"

namespace activeset::eigen {

/// What lies in memory as doubles with no gaps along its columns, or along its rows where it is
/// stored row by row: matrices, maps, Eigen::Ref, blocks and transposes of them. Not products and
/// other expressions, which have to be evaluated into a matrix first, nor a row of a matrix that is
/// stored in columns.
template <class Matrix>
concept Viewable = std::derived_from<Matrix, Eigen::DenseBase<Matrix>> &&
                       std::same_as<typename Matrix::Scalar, double> &&
                       (Matrix::Flags& Eigen::DirectAccessBit) != 0 &&
                   Matrix::InnerStrideAtCompileTime == 1;

/// For c, sides, bounds and start: whatever is a column by its type.
template <Viewable Column>
requires(Column::ColsAtCompileTime == 1) [[nodiscard]] VectorView
    view(const Eigen::DenseBase<Column>& column) {
    return {column.derived().data(), static_cast<std::size_t>(column.size())};
}

/// For H and A: everything else, in the order in which it is stored.
template <Viewable Matrix>
requires(Matrix::ColsAtCompileTime != 1) [[nodiscard]] MatrixView
    view(const Eigen::DenseBase<Matrix>& matrix) {
    const Matrix& m = matrix.derived();
    // Strides that lead nowhere or backwards would be taken for others: such a view has no memory,
    // which is a fault of the problem.
    const bool hasStride = m.outerSize() > 1 && m.innerSize() > 0;
    const bool isForward = !hasStride || m.outerStride() > 0;
    return {isForward ? m.data() : nullptr, static_cast<std::size_t>(m.rows()),
            static_cast<std::size_t>(m.cols()),
            hasStride && isForward ? static_cast<std::size_t>(m.outerStride()) : 0,
            Matrix::IsRowMajor ? Order::RowMajor : Order::ColumnMajor};
}

/// A vector of a result: x, y, z, a direction, a Farkas vector.
[[nodiscard]] inline Eigen::Map<const Eigen::VectorXd> map(const std::vector<double>& values) {
    return {values.data(), static_cast<Eigen::Index>(values.size())};
}
/// Keep the result: a map of what is about to go would look at nothing.
void map(std::vector<double>&&) = delete;

}  // namespace activeset::eigen

#endif
