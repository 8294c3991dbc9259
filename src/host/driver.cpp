// The entry function: data check, objects, one solve, results.
#include "activeset/driver.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <initializer_list>
#include <utility>

#include "activeset/as_option.hpp"
#include "activeset/null_space.hpp"
#include "activeset/sizes.hpp"
#include "host/floating_point.hpp"
#include "thread_state.hpp"

using activeset::CallScope;

namespace {

void requireRealDenseDoubles(std::initializer_list<const vxArray*> arrays) {
    for (const vxArray* array : arrays) {
        if (array != nullptr && (vxIsSparse(array) || vxIsComplex(array) || !vxIsDouble(array))) {
            vxErrMsgIdAndTxt("optim:src:DataTypeError",
                             "Optimization encountered sparse, complex, or non-double data; cannot "
                             "continue.");
        }
    }
}

/// How many entries of an initial list name none of `count` bounds, given by 0-based variables.
int skippedEntries(const vxArray* list, const size_t* variables, size_t count) {
    int skipped = 0;
    for (size_t i = 0; list != nullptr && !vxIsEmpty(list) && i < vxGetM(list); ++i) {
        // Truncated as in the solve; NaN and the infinite are no variable.
        const double variable = std::trunc(vxGetElement(list, i, 0) - 1.0);
        const bool isNamed = std::any_of(variables, variables + count, [variable](size_t bound) {
            return static_cast<double>(bound) == variable;
        });
        skipped += isNamed ? 0 : 1;
    }
    return skipped;
}

}  // namespace

int NullSpaceASdriver(const vxArray* H,
                      const vxArray* c,
                      const vxArray* A,
                      const vxArray* b,
                      const vxArray* Aeq,
                      const vxArray* beq,
                      const vxArray* lb,
                      const vxArray* ub,
                      const vxArray* x0,
                      const vxArray* Wineq,
                      const vxArray* Wlower,
                      const vxArray* Wupper,
                      const vxArray* MaxIter,
                      const vxArray* TolCon,
                      const vxArray* TolFun,
                      const vxArray* TolX,
                      const vxArray* Display,
                      vxArray** xstar,
                      vxArray** fstar,
                      vxArray** lambda,
                      vxArray** WeqOut,
                      vxArray** WineqOut,
                      vxArray** WlowerOut,
                      vxArray** WupperOut,
                      vxArray** exitflag) {
    const activeset::FloatingPointGuard environment;
    activeset::threadState().lastSolve = {};
    activeset::CountsGuard counts;  // as they were, if this call raises
    CallScope scope;
    const activeset::PoolRelease pool;
    requireRealDenseDoubles({H, c, A, b, Aeq, beq, lb, ub});
    QPobjective objective(H, c);  // before the constraints: it says how many variables there are
    LinearConstraint constraint(A, b, Aeq, beq, lb, ub);
    // No objective limit: only a value of −∞ could reach this one.
    ASoption options(MaxIter, TolCon, TolFun, TolX, Display, -utGetRealMax());
    const int skipped = skippedEntries(Wlower, constraint.getindexLB(), OPTsizes::getmLB()) +
                        skippedEntries(Wupper, constraint.getindexUB(), OPTsizes::getmUB());
    NullSpaceAS solver;
    const ASsolution solution = solver(objective, constraint, x0, options, Wineq, Wlower, Wupper);
    if (solution.getSolutoinState() != ASQP::Undecided) {
        // All are made before any is handed out, so that an error leaves every pointer alone.
        const ActiveSet& activeSet = solver.getActiveSet();
        const std::array<std::pair<vxArray**, vxArray*>, 8> results{
            {{xstar, solution.getxstarVxArray()},
             {fstar, solution.getfstarVxArray()},
             {lambda, solution.getlambdaVxArray()},
             {exitflag, solution.getSolutoinStateVxArray()},
             {WeqOut, activeSet.getWeqVxArray()},
             {WineqOut, activeSet.getWineqVxArray()},
             {WlowerOut, activeSet.getWlowerVxArray()},
             {WupperOut, activeSet.getWupperVxArray()}}};
        for (const auto& [target, array] : results) {
            if (target != nullptr) {
                *target = scope.keep(array);
            }
        }
    }
    const NullSpaceAS::PhaseOneOutcome& phaseOne = solver.getPhaseOneOutcome();
    activeset::threadState().lastSolve = {solver._getCurrentIter(), phaseOne.iterations,
                                          phaseOne.hasRun, skipped};
    counts.commit();
    return 1;
}

activeset::SolveReport activeset::lastSolveReport() noexcept {
    const SolveCounts& last = threadState().lastSolve;
    return {last.iterations, last.phaseOneIterations, last.phaseOneRan, last.skippedEntries};
}
