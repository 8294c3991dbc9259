// A loop without decide.cpp around it: for problems that are solved on the way to the answer of
// another one.
#ifndef ACTIVESET_SRC_FRONTEND_LOOP_BARE_LOOP_HPP
#define ACTIVESET_SRC_FRONTEND_LOOP_BARE_LOOP_HPP

#include <optional>

#include "frontend/loop/proximal_loop.hpp"

namespace activeset::frontend {

struct BareAnswer {
    bool isSolved = false;
    std::optional<Farkas> farkas;  ///< if the problem is infeasible instead
    /// Multipliers by which the rows seem to contradict one another, where a prediction has ended
    /// with some; in the variables of the problem.
    Vector claim;
    Point point;  ///< the best one, in the variables of the problem
    WorkingSet set;
    double objective = 0.0;
};

/// Solves a convex problem from a point in its variables. Its passes count and limits hold, but the
/// caller's callback is not called, because it would be told of another problem.
[[nodiscard]] BareAnswer solveBare(ProblemCache& problem,
                                   const Vector& start,
                                   const WorkingSet& set,
                                   const Settings& settings,
                                   Control& control);

}  // namespace activeset::frontend

#endif
