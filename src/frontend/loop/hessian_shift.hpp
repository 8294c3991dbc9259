// The least multiple of the identity that makes a problem convex which misses that by rounding.
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

/// Of a problem that is not convex. No δ below −dᵀHd/‖d‖² is enough, where d is the direction along
/// which H, or H with the δ before, bends down. Such numbers are tried as long as they grow, then
/// the last one is doubled, until the factorisation finds no such direction: the δ that is found is
/// mostly the least one to three digits, and always less than twice it. None is found once the
/// control ends the search.
[[nodiscard]] ShiftedProblem shiftedProblem(ProblemCache& problem, Control& control);

/// δ in proportion to ‖H‖_F, which is at least the largest eigenvalue.
[[nodiscard]] double relativeShift(const ProblemData& data, double shift);

}  // namespace activeset::frontend

#endif
