// From a scaled problem to an answer with its proof.
#ifndef ACTIVESET_SRC_FRONTEND_DECIDE_HPP
#define ACTIVESET_SRC_FRONTEND_DECIDE_HPP

#include <optional>

#include "frontend/loop/proximal_loop.hpp"

namespace activeset::frontend {

/// What a solve has found, in the caller's variables. The point is as it was judged.
struct Answer {
    Status status = Status::Inaccurate;  ///< never Optimal: statusOf() decides that
    Point point;
    WorkingSet set;
    Judgement judgement;
    std::optional<Farkas> farkas;
    Vector direction;  ///< of unboundedness or negative curvature
    Residual directionResidual;
    Effort effort;
    std::size_t corrections = 0;  ///< by refinement
};

/// The one place that says optimal: if the point's certificate holds and nothing else is proved.
[[nodiscard]] Status statusOf(const Answer& answer, double tolerance);

/// Solves from a point and a working set in scaled variables.
[[nodiscard]] Answer decide(ProblemCache& problem,
                            Vector x,
                            const WorkingSet& set,
                            const Settings& settings,
                            Control& control);

}  // namespace activeset::frontend

#endif
