// A guess at the active constraints of a strictly convex problem.
#ifndef ACTIVESET_SRC_FRONTEND_PREDICTOR_HPP
#define ACTIVESET_SRC_FRONTEND_PREDICTOR_HPP

#include <functional>

#include "frontend/control.hpp"
#include "frontend/data.hpp"
#include "frontend/subproblem.hpp"

namespace activeset::frontend {

struct Prediction {
    /// The guess explains itself: its point violates nothing, its multipliers have their signs.
    bool isSettled = false;
    /// Instead: y and z of the point are multipliers by which the constraints contradict each
    /// other.
    bool isInfeasible = false;
    Point point;
    WorkingSet set;
    std::size_t rounds = 0;  ///< of guessing
    std::size_t steps = 0;   ///< of the dual method, where guessing went round in circles
};

/// Primal-dual active sets, which is Newton's method for the optimality conditions (Hintermüller,
/// Ito and Kunisch 2002; Kunisch and Rendl 2003): the equations of the guessed set are solved, then
/// members whose multipliers have the wrong sign go, and what is violated comes, all at once. That
/// ends after a few rounds or goes round in circles; then the dual method takes over.
///
/// @param first       the first guess
/// @param isFeasible  asked at most once, where a contradiction would explain the time that it
/// takes
[[nodiscard]] Prediction predict(Subproblem& problem,
                                 const WorkingSet& first,
                                 Control& control,
                                 const std::function<bool()>& isFeasible);

}  // namespace activeset::frontend

#endif
