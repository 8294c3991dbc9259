// A dual active-set method for strictly convex problems: slower than a prediction that works out,
// but sure to end but for rounding.
#ifndef ACTIVESET_SRC_FRONTEND_DUAL_ACTIVE_SET_HPP
#define ACTIVESET_SRC_FRONTEND_DUAL_ACTIVE_SET_HPP

#include <functional>

#include "frontend/control.hpp"
#include "frontend/dense.hpp"
#include "frontend/sides.hpp"

namespace activeset::frontend {

struct DualOutcome {
    enum End {
        Optimal,
        Infeasible,  ///< Aᵀy + z = 0, and the sides that y and z stand for contradict one another
        Stopped      ///< by the control, by rounding, or because there is no feasible point
    } end = Stopped;
    Sides sides;
    Point point;
    std::size_t steps = 0;
};

/// After Goldfarb and Idnani (1983), from the members of a guess whose multipliers have the right
/// signs. In each step the most violated constraint is pulled to its side; its multiplier grows,
/// and a member whose multiplier would change its sign on the way has to go first. The dual
/// objective rises with every constraint that arrives, so that no set comes twice.
///
/// @param factor       the upper Cholesky factor of H
/// @param isFeasible   asked once, where the end is not near; false ends the method, which would
///                     take long to find a contradiction that a first phase meets soon
[[nodiscard]] DualOutcome solveDual(const Data& data,
                                    const Dense& factor,
                                    Sides guess,
                                    Control& control,
                                    const std::function<bool()>& isFeasible);

}  // namespace activeset::frontend

#endif
