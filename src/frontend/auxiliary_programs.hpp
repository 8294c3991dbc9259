// Two linear programs that always have a solution. They tell whether there is a feasible point, and
// whether there is a direction along which the objective falls without end.
#ifndef ACTIVESET_SRC_FRONTEND_AUXILIARY_PROGRAMS_HPP
#define ACTIVESET_SRC_FRONTEND_AUXILIARY_PROGRAMS_HPP

#include "frontend/core/control.hpp"
#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

/// The smallest γ by which the sides of all rows have to be moved so that there is a feasible
/// point, in scaled variables.
struct Relaxation {
    bool isSolved = false;
    double violation = 0.0;  ///< γ
    Vector x;
    Vector y;  ///< multipliers with Aᵀy + z = 0
    Vector z;
};
[[nodiscard]] Relaxation relax(const ProblemData& scaled,
                               const Vector& x,
                               const Settings& settings,
                               Control& control);

/// The steepest descent d with entries up to 1, H·d = 0 and no finite side ahead, in scaled
/// variables; empty if there is none.
[[nodiscard]] Vector steepestRay(const ProblemData& scaled,
                                 const Settings& settings,
                                 Control& control);

}  // namespace activeset::frontend

#endif
