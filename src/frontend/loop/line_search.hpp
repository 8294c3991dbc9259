// How far a step goes on.
#ifndef ACTIVESET_SRC_FRONTEND_LOOP_LINE_SEARCH_HPP
#define ACTIVESET_SRC_FRONTEND_LOOP_LINE_SEARCH_HPP

#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

/// The t that minimises the objective at x + t·d, d the difference of two points of that size, as
/// far as the sides of rows and bounds let it; 0 where d does not descend, and where it descends
/// without end.
[[nodiscard]] double lineSearch(const ProblemData& data, const Vector& x, const Vector& d);

}  // namespace activeset::frontend

#endif
