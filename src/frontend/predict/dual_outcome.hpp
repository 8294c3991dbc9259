// How a dual method ends.
#ifndef ACTIVESET_SRC_FRONTEND_PREDICT_DUAL_OUTCOME_HPP
#define ACTIVESET_SRC_FRONTEND_PREDICT_DUAL_OUTCOME_HPP

#include "frontend/problem/constraints.hpp"

namespace activeset::frontend {

/// A constraint that depends on the members is where they put it if the value that theirs combine
/// to is beyond its side by no more than this, in proportion to the terms.
inline constexpr double ImpliedTolerance = 1e-9;

struct DualOutcome {
    enum End {
        Optimal,
        Infeasible,  ///< Aᵀy + z = 0, and the sides that y and z stand for contradict one another
        Slow,        ///< constraints come one by one; the multipliers have the right signs
        Stopped      ///< by the control, by the limit of steps or by rounding
    } end = Stopped;
    Constraints sides;  ///< holds the working set
    Point point;
    std::size_t steps = 0;  ///< working sets that were tried
};

}  // namespace activeset::frontend

#endif
