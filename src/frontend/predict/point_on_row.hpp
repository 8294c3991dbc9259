// A point between the bounds at which the only row, an equality, holds.
#ifndef ACTIVESET_SRC_FRONTEND_PREDICT_POINT_ON_ROW_HPP
#define ACTIVESET_SRC_FRONTEND_PREDICT_POINT_ON_ROW_HPP

#include <optional>
#include <span>

#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

/// The nearest one to x, which is between the bounds, of the points x + t·a moved between them.
/// There is none, or none is found, if with |t| up to 10³⁰ they stay on one side of the row.
/// @param a  the row, or, to leave other variables where they are, its entries at some only
[[nodiscard]] std::optional<Vector> pointOnRow(const ProblemData& data,
                                               const Vector& x,
                                               std::span<const double> a);

}  // namespace activeset::frontend

#endif
