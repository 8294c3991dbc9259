// The least multiple of the identity that makes a problem convex, for one that misses convexity by
// rounding.
#ifndef ACTIVESET_SRC_FRONTEND_LOOP_HESSIAN_SHIFT_HPP
#define ACTIVESET_SRC_FRONTEND_LOOP_HESSIAN_SHIFT_HPP

#include "frontend/core/control.hpp"
#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

/// A δ with which H + δI is convex on the null space of the equalities, as its Cholesky factor
/// shows: mostly the least one to three digits, and always less than twice that. Infinite if none
/// was found, or the control ends the search.
///
/// @param direction  of negative curvature, along which the equalities hold
[[nodiscard]] double sufficientShift(const ProblemData& data,
                                     const Vector& direction,
                                     Control& control);

/// δ in proportion to ‖H‖_F, which is at least the largest eigenvalue.
[[nodiscard]] double relativeShift(const ProblemData& data, double shift);

}  // namespace activeset::frontend

#endif
