// A look at a proved point under a magnifying glass: what a tolerance hid there is large.
#ifndef ACTIVESET_SRC_FRONTEND_CLOSER_LOOK_HPP
#define ACTIVESET_SRC_FRONTEND_CLOSER_LOOK_HPP

#include <optional>

#include "frontend/loop/best_point.hpp"

namespace activeset::frontend {

/// A side that is missed by little may be far from any point that meets it, where rows are nearly
/// parallel. While the best point is proved and misses a side by more than rounding, looks for one
/// nearby that does not. What the nearest optimum costs more counts as gap of a point that has no
/// better one.
///
/// @return the Farkas vector, if there is no feasible point
[[nodiscard]] std::optional<Farkas> lookCloser(ProblemCache& problem,
                                               BestPoint& best,
                                               const Settings& settings,
                                               Control& control);

}  // namespace activeset::frontend

#endif
