// Whether the objective is convex on the directions that the equalities leave, and the direction
// that shows where it is not.
#ifndef ACTIVESET_SRC_FRONTEND_PROOF_CONVEXITY_HPP
#define ACTIVESET_SRC_FRONTEND_PROOF_CONVEXITY_HPP

#include "frontend/prepared.hpp"

namespace activeset::frontend {

/// Not convex is said only of a direction that was judged in extended precision: the equalities
/// stay along it, and the curvature is beyond the rounding of ‖H‖·‖d‖², in scaled variables.
[[nodiscard]] Convexity convexityOf(Prepared& problem);

/// dᵀHd, in proportion to Σ |d_i·H_ij·d_j|.
[[nodiscard]] Residual curvature(const Data& data, const Vector& direction);

}  // namespace activeset::frontend

#endif
