// One run of the null-space solver under the front end's control.
#ifndef ACTIVESET_SRC_FRONTEND_CORE_CORE_RUN_HPP
#define ACTIVESET_SRC_FRONTEND_CORE_CORE_RUN_HPP

#include <string>

#include "frontend/core/control.hpp"
#include "frontend/core/core_form.hpp"

namespace activeset::frontend {

/// The first run's precision; what follows after a failure is in loop_recovery.cpp.
inline constexpr double FirstViolation = 1e-9;
inline constexpr double FirstStep = 1e-10;
inline constexpr double FirstMultiplier = 1e-12;

/// How exact a run has to be, absolute in scaled variables.
struct Precision {
    double violation = FirstViolation;    ///< the core's TolCon
    double step = FirstStep;              ///< the core's TolX
    double multiplier = FirstMultiplier;  ///< one that is less negative than this counts as zero
};

/// Why a run ended.
enum class RunEnd {
    Optimal,
    Infeasible,   ///< phase one ended by itself, or the equalities contradict each other
    NotDefinite,  ///< a reduced Hessian had no Cholesky factor
    Cycling,      ///< working sets come back, or too many were minimised over at one point
    Stopped,      ///< by the control
    Broken        ///< an error of the core, or a stop that cannot be
};

struct Run {
    RunEnd end = RunEnd::Broken;
    int exitCode = -5;
    Vector x;
    Vector lambda;  ///< in the order of docs/states.md
    CoreSet set;
    std::vector<std::size_t> droppedEqualities;
    /// Multipliers of phase one where it ended by itself with a violation, else empty.
    Vector phaseOneLambda;
};

/// Minimises ½xᵀHx + cᵀx over the constraints of `coreForm`, from x and a working set.
///
/// @param H         n × n or empty, for a linear objective
/// @param progress  tells what is reached at the point x; called only if there is a callback
[[nodiscard]] Run runCore(CoreForm& coreForm,
                          Vector& H,
                          Vector& c,
                          const Vector& x,
                          const CoreSet& set,
                          const Precision& precision,
                          Control& control,
                          const CoreReport& progress);

}  // namespace activeset::frontend

#endif
