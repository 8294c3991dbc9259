// A dual active-set method for strictly convex problems: slower than a prediction that works out,
// but sure to end.
#ifndef ACTIVESET_SRC_FRONTEND_DUAL_ACTIVE_SET_HPP
#define ACTIVESET_SRC_FRONTEND_DUAL_ACTIVE_SET_HPP

#include "frontend/control.hpp"
#include "frontend/schur_system.hpp"
#include "frontend/sides.hpp"

namespace activeset::frontend {

struct DualOutcome {
    enum End { Optimal, Infeasible, Stopped } end = Stopped;
    Sides sides;
    Vector x;            ///< for Optimal
    Vector multipliers;  ///< of the members of `sides`; for Infeasible with Wᵀ·multipliers = 0
    std::size_t steps = 0;
};

/// After Goldfarb and Idnani (1983), from the members of a guess whose multipliers have the right
/// signs. In each step the most violated constraint is pulled to its side; its multiplier grows,
/// and a member whose multiplier would change its sign on the way has to go first. The dual
/// objective rises with every constraint that arrives, so that no set comes twice.
[[nodiscard]] DualOutcome solveDual(const Data& data,
                                    SchurSystem& system,
                                    Sides guess,
                                    Control& control);

}  // namespace activeset::frontend

#endif
