// The exact line search along a step of the loop.
#ifndef ACTIVESET_SRC_FRONTEND_LOOP_LINE_SEARCH_HPP
#define ACTIVESET_SRC_FRONTEND_LOOP_LINE_SEARCH_HPP

#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

/// The t at which x + t·d has the least objective between the sides of rows and bounds; d is the
/// difference of two points as large as x. 0 if d does not descend, or descends without end.
[[nodiscard]] double lineSearch(const ProblemData& data, const Vector& x, const Vector& d);

}  // namespace activeset::frontend

#endif
