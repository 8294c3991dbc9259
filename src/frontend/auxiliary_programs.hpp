// Two linear programs that always have a solution and answer what the problem itself leaves open:
// is there a feasible point, and is there a direction without end.
#ifndef ACTIVESET_SRC_FRONTEND_AUXILIARY_PROGRAMS_HPP
#define ACTIVESET_SRC_FRONTEND_AUXILIARY_PROGRAMS_HPP

#include "frontend/core/control.hpp"
#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

/// The smallest γ by which the sides of all rows have to give way, in scaled variables.
struct Relaxation {
    bool isSolved = false;
    double violation = 0.0;  ///< γ
    Vector x;
    Vector y;  ///< multipliers, of which Aᵀy + z = 0 holds
    Vector z;
};
[[nodiscard]] Relaxation relax(const ProblemData& scaled,
                               const Vector& x,
                               const Settings& settings,
                               Control& control);

/// The steepest d with entries up to 1, H·d = 0 and no finite side ahead, in scaled variables;
/// empty where none descends.
[[nodiscard]] Vector steepestRay(const ProblemData& scaled,
                                 const Settings& settings,
                                 Control& control);

}  // namespace activeset::frontend

#endif
