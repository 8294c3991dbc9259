// The least multiple of the identity that makes a problem convex, for one that misses convexity by
// rounding.
#ifndef ACTIVESET_SRC_FRONTEND_LOOP_HESSIAN_SHIFT_HPP
#define ACTIVESET_SRC_FRONTEND_LOOP_HESSIAN_SHIFT_HPP

#include <memory>

#include "frontend/loop/problem_cache.hpp"

namespace activeset::frontend {

/// The problem with H + δI in the place of H, in the caller's variables.
struct ShiftedProblem {
    double shift = 0.0;                     ///< δ; infinite where none was found
    std::unique_ptr<ProblemCache> problem;  ///< convex; null where none was found
};

/// Shifts a problem that is not convex. No δ below −dᵀHd/‖d‖² is enough, where d is a direction of
/// negative curvature of H or of H + δI for an earlier δ. These numbers are tried as long as they
/// grow; then the last one is doubled until the factorisation finds no such direction. The δ found
/// mostly is the least one to three digits, and always less than twice that. None is found if the
/// control ends the search.
[[nodiscard]] ShiftedProblem shiftedProblem(ProblemCache& problem, Control& control);

/// δ in proportion to ‖H‖_F, which is at least the largest eigenvalue.
[[nodiscard]] double relativeShift(const ProblemData& data, double shift);

}  // namespace activeset::frontend

#endif
