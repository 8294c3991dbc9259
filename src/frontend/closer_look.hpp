// Solves a problem again as seen from a proved point, magnified: what the tolerance has hidden
// there becomes large.
#ifndef ACTIVESET_SRC_FRONTEND_CLOSER_LOOK_HPP
#define ACTIVESET_SRC_FRONTEND_CLOSER_LOOK_HPP

#include <optional>

#include "frontend/loop/best_point.hpp"

namespace activeset::frontend {

/// If rows are nearly parallel, a point that misses a side by little may be far from all points
/// that meet it. While the best point is proved and misses a side by more than rounding, or by
/// rounding among rows that nearly depend on one another, looks for a better one nearby. If there
/// is none, what the nearest optimum costs more counts as gap; if that is not known either and rows
/// nearly depend on one another, the gap becomes infinite.
///
/// @return the Farkas vector, if there is no feasible point
[[nodiscard]] std::optional<Farkas> lookCloser(ProblemCache& problem,
                                               BestPoint& best,
                                               const Settings& settings,
                                               Control& control);

}  // namespace activeset::frontend

#endif
