// Rows of a guess that depend on one another in the free variables.
#ifndef ACTIVESET_SRC_FRONTEND_PREDICT_DEPENDENT_ROWS_HPP
#define ACTIVESET_SRC_FRONTEND_PREDICT_DEPENDENT_ROWS_HPP

#include <cstddef>
#include <vector>

#include "frontend/algebra/dense.hpp"

namespace activeset::frontend {

/// For each row that depends on others: the weights of all rows that combine to zero, its own is 1.
/// @param rows  free variables × rows
[[nodiscard]] std::vector<Vector> dependencesOf(const Dense& rows);

/// The row of a dependence that can be spared: its weighed miss is the least. The number of rows
/// where there is none.
/// @param misses  by row, the side less the value; infinite for one that has to stay
[[nodiscard]] std::size_t sparedOf(const Vector& dependence, const Vector& misses);

}  // namespace activeset::frontend

#endif
