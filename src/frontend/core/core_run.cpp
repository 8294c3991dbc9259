// A run of the core from vectors to vectors, with the temporaries of its classes given back.
#include "frontend/core/core_run.hpp"

#include <limits>
#include <memory>

#include "activeset/as_option.hpp"
#include "frontend/core/watched_solver.hpp"
#include "thread_state.hpp"

namespace activeset::frontend {

namespace {

/// The control limits the passes.
ASoption optionsOf(const Precision& precision) {
    ASoption options;
    options.setMaxIter(std::numeric_limits<int>::max());
    options.setTolCon(precision.violation);
    options.setTolX(precision.step);
    options.setDisplay("off");
    return options;
}

vxArray* wrapped(Vector& values, std::size_t rows, std::size_t cols) {
    return rows * cols == 0 ? nullptr : vxWrapDoubleMatrix(values.data(), rows, cols);
}

vxArray* columnOf(const std::vector<std::size_t>& members) {
    vxArray* column = vxCreateDoubleMatrix(members.size(), 1, vxComplexity::Real);
    for (std::size_t k = 0; k < members.size(); ++k) {
        vxGetDoubles(column)[k] = static_cast<double>(members[k] + 1);
    }
    return column;
}

RunEnd endOf(int code, const WatchedSolver& solver, const Control& control) {
    if (control.mustEnd()) {
        return RunEnd::Stopped;
    }
    if (solver.isCycling()) {
        return RunEnd::Cycling;
    }
    const NullSpaceAS::PhaseOneOutcome& phaseOne = solver.getPhaseOneOutcome();
    switch (code) {
        case ASQP::Optimal:
            return RunEnd::Optimal;
        case ASQP::Infeasible:
            return !phaseOne.hasRun || phaseOne.state == ASQP::Optimal ? RunEnd::Infeasible
                                                                       : RunEnd::Broken;
        case ASQP::DependentConstraints:
            return RunEnd::Infeasible;
        case ASQP::HessianNotPositiveDefinite:
            return RunEnd::NotDefinite;
        default:
            return RunEnd::Broken;
    }
}

void solveInto(Run& run,
               WatchedSolver& solver,
               CoreForm& coreForm,
               IoptObjective& objective,
               IoptOption& options,
               const Vector& x,
               const CoreSet& set) {
    const std::size_t n = coreForm.variables();
    const std::size_t mIneq = coreForm.b.size();
    const std::size_t mEq = coreForm.beq.size();
    // After the objective: it needs to know how many variables there are.
    LinearConstraint constraint(wrapped(coreForm.A, mIneq, n), wrapped(coreForm.b, mIneq, 1),
                                wrapped(coreForm.Aeq, mEq, n), wrapped(coreForm.beq, mEq, 1),
                                wrapped(coreForm.lb, n, 1), wrapped(coreForm.ub, n, 1));
    const ASsolution solution =
        solver(objective, constraint, vxCreateDoubleMatrixFrom(x.data(), n, 1), options,
               columnOf(set.inequalities), columnOf(set.lower), columnOf(set.upper));
    run.exitCode = solution.getSolutoinState();
    const OPTMatrix<double>& point = solution.xstarRef();
    const OPTMatrix<double>& multipliers = solution.lambdaRef();
    run.x.assign(point.getData(), point.getData() + point.size());
    run.lambda.assign(multipliers.getData(), multipliers.getData() + multipliers.size());
    run.set = solver.coreSet();
    run.droppedEqualities = solver.getDroppedEqualities();
}

}  // namespace

Run runCore(CoreForm& coreForm,
            Vector& H,
            Vector& c,
            const Vector& x,
            const CoreSet& set,
            const Precision& precision,
            Control& control,
            const CoreReport& progress) {
    Run run;
    const std::size_t n = coreForm.variables();
    const CallScope scope;
    const PoolRelease pool;
    const CountsGuard counts;  // whoever uses the classes finds theirs again
    WatchedSolver solver(control, precision.multiplier, progress);
    ASoption options = optionsOf(precision);
    std::unique_ptr<IoptObjective> objective;
    vxArray* const linear = wrapped(c, n, 1);
    if (H.empty()) {
        objective = std::make_unique<LPobjective>(linear);
    } else {
        objective = std::make_unique<QPobjective>(wrapped(H, n, n), linear);
    }
    try {
        solveInto(run, solver, coreForm, *objective, options, x, set);
        run.end = endOf(run.exitCode, solver, control);
    } catch (const HostError& error) {
        if (error.identifier() == OutOfMemoryIdentifier) {
            throw;
        }
        run.end = control.mustEnd() ? RunEnd::Stopped : RunEnd::Broken;
        run.x.clear();
    }
    if (run.end == RunEnd::Infeasible) {
        run.phaseOneLambda = solver.phaseOneMultipliers();
    }
    return run;
}

}  // namespace activeset::frontend
