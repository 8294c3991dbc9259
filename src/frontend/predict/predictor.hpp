// A prediction of the active constraints of a strictly convex problem, and the point that goes with
// them.
#ifndef ACTIVESET_SRC_FRONTEND_PREDICT_PREDICTOR_HPP
#define ACTIVESET_SRC_FRONTEND_PREDICT_PREDICTOR_HPP

#include "frontend/core/control.hpp"
#include "frontend/predict/subproblem.hpp"
#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

struct Prediction {
    /// The point violates nothing, its multipliers have their signs.
    bool isSettled = false;
    /// The constraints seem to contradict each other: y of the point are the multipliers that show
    /// it.
    bool isInfeasible = false;
    Point point;
    WorkingSet set;
    std::size_t rounds = 0;  ///< of guessing
    std::size_t steps = 0;   ///< of the block dual and the block primal method

    [[nodiscard]] bool hasEnded() const { return isSettled || isInfeasible; }
};

/// @param x      near which the point is likely
/// @param first  where to begin; may be empty
[[nodiscard]] Prediction predict(Subproblem& problem,
                                 const Vector& x,
                                 const WorkingSet& first,
                                 Control& control);

}  // namespace activeset::frontend

#endif
