// A problem as seen from a point that is nearly its solution, under a magnifying glass: what a
// tolerance hid there is large.
#ifndef ACTIVESET_SRC_FRONTEND_ZOOM_HPP
#define ACTIVESET_SRC_FRONTEND_ZOOM_HPP

#include "frontend/engine.hpp"

namespace activeset::frontend {

struct Zoomed {
    bool isSolved = false;
    std::optional<Farkas> farkas;  ///< of a contradiction that was found
    Point point;                   ///< in the variables of the problem, with multipliers
    WorkingSet set;
    double rise = 0.0;  ///< of the objective, from where the glass was held to that point
};

/// The minimum of min ½dᵀHd + (H·x + c)ᵀd over the d for which x + d is feasible, found with d and
/// all sides as many times larger as `factor` says. All sides are formed in extended precision.
[[nodiscard]] Zoomed zoom(const Data& data,
                          const Point& at,
                          const WorkingSet& set,
                          double factor,
                          const Settings& settings,
                          Control& control);

}  // namespace activeset::frontend

#endif
