// A dual active-set method for strictly convex problems, one constraint a step, with orthogonal
// factors: for degenerate and nearly singular problems, on which taking in blocks does not pay.
#ifndef ACTIVESET_SRC_FRONTEND_PREDICT_DUAL_ACTIVE_SET_HPP
#define ACTIVESET_SRC_FRONTEND_PREDICT_DUAL_ACTIVE_SET_HPP

#include "frontend/algebra/dense.hpp"
#include "frontend/core/control.hpp"
#include "frontend/predict/dual_outcome.hpp"
#include "frontend/problem/constraints.hpp"

namespace activeset::frontend {

/// After Goldfarb and Idnani (1983), from the members of a guess whose multipliers have the right
/// signs. Each step pulls the most violated constraint to its side. Its multiplier grows, and a
/// member leaves when its own multiplier reaches zero. The dual objective rises with every
/// constraint that arrives, so no set comes back.
///
/// @param factor  the upper Cholesky factor of H
[[nodiscard]] DualOutcome solveDual(const ProblemData& data,
                                    const Dense& factor,
                                    Constraints guess,
                                    Control& control);

}  // namespace activeset::frontend

#endif
