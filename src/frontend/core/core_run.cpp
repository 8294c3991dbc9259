// A solver that watches its own passes: it counts them, ends when it must, takes multipliers that
// are negative by rounding for zeros, and notices when it turns in circles.
#include "frontend/core/core_run.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <unordered_map>
#include <utility>

#include "activeset/as_option.hpp"
#include "activeset/null_space.hpp"
#include "activeset/sizes.hpp"
#include "thread_state.hpp"

namespace activeset::frontend {

namespace {

using Matrix = OPTMatrix<double>;

class WatchedSolver : public NullSpaceAS {
public:
    WatchedSolver(Control& control,
                  const Precision& precision,
                  const std::function<Progress(const double*)>& progress)
        : control_(control), precision_(precision), progress_(progress) {}
    WatchedSolver(const WatchedSolver&) = delete;
    WatchedSolver& operator=(const WatchedSolver&) = delete;
    ~WatchedSolver() override = default;

    void getSearchDirection(Matrix& g, Matrix& p) override {
        NullSpaceAS::getSearchDirection(g, p);
        hasDirection_ = true;
    }

    // The objective has just been minimised on the working set. With exact arithmetic each such
    // minimum is lower than the one before.
    void computeLambda(Matrix& g, Matrix& multipliers) override {
        NullSpaceAS::computeLambda(g, multipliers);
        const bool phaseOne = isPhaseOne();
        if (phaseOne != wasPhaseOne_) {
            seen_.clear();
            wasPhaseOne_ = phaseOne;
        }
        const std::size_t count = ActiveSet::getmaConstr();
        const std::size_t first = ActiveSet::getmaEq() + ActiveSet::getmaFixed();
        bool isMinimum = true;
        for (std::size_t k = first; k < count; ++k) {
            double& multiplier = multipliers(k, 0);
            if (multiplier < 0.0 && multiplier >= -precision_.multiplier) {
                multiplier = 0.0;
            }
            isMinimum = isMinimum && multiplier >= 0.0;
        }
        const bool hasReturned = !isMinimum && ++seen_[hashOfWorkingSet()] > AllowedReturns;
        if (hasReturned || (hasStalled() && !isMinimum)) {
            isCycling_ = true;
        }
        if (isMinimum && phaseOne) {
            keepPhaseOneMultipliers(multipliers);
        }
    }

    [[nodiscard]] bool isCycling() const { return isCycling_; }
    [[nodiscard]] Vector phaseOneMultipliers() const { return phaseOneMultipliers_; }

protected:
    [[nodiscard]] bool _mayGoOn() override {
        control_.endPass(isPhaseOne(), [this] { return report(); });
        return !control_.mustEnd() && !isCycling_;
    }

private:
    // Rounding may bring a set back once or twice at points that differ.
    static constexpr int AllowedReturns = 3;

    // Whether this is one minimum too many at the same point. Where far more constraints than
    // variables meet there are too many working sets to wait until one comes back.
    [[nodiscard]] bool hasStalled() {
        constexpr double Rounding = 1e-12;
        const Matrix& point = solution.xstarRef();
        const double* const at = point.getData();
        const std::size_t size = point.size();
        bool isSame = size == stalledAt_.size();
        for (std::size_t j = 0; j < size && isSame; ++j) {
            const double scale = std::max(1.0, std::abs(stalledAt_[j]));
            isSame = std::abs(at[j] - stalledAt_[j]) <= Rounding * scale;
        }
        if (!isSame) {
            stalledAt_.assign(at, at + size);
            minima_ = 0;
        }
        return ++minima_ > 20 + 2 * size;
    }

    [[nodiscard]] bool isPhaseOne() const {
        return dynamic_cast<PhaseOneObjective*>(objective) != nullptr;
    }

    // The same for every order of the members.
    [[nodiscard]] std::uint64_t hashOfWorkingSet() const {
        std::uint64_t hash = 0;
        for (std::size_t k = 0; k < ActiveSet::getmaConstr(); ++k) {
            std::uint64_t word = activeSet.getWset()[k] + 0x9E3779B97F4A7C15U;
            word = (word ^ (word >> 30U)) * 0xBF58476D1CE4E5B9U;
            word = (word ^ (word >> 27U)) * 0x94D049BB133111EBU;
            hash += word ^ (word >> 31U);
        }
        return hash;
    }

    // By constraint number, as setLambdaForAllConstraints does at the end; γ's own entries go.
    void keepPhaseOneMultipliers(const Matrix& multipliers) {
        const std::size_t extended = OPTsizes::getnVar();
        const std::size_t rows = OPTsizes::getmEq() + OPTsizes::getmIneq();
        phaseOneMultipliers_.assign(rows + 2 * (extended - 1), 0.0);
        for (std::size_t k = 0; k < ActiveSet::getmaConstr(); ++k) {
            std::size_t number = activeSet.getWset()[k];
            if (number == rows + 2 * extended - 1) {
                continue;
            }
            if (number >= rows + extended) {
                --number;  // the block of lower bounds is one shorter
            }
            phaseOneMultipliers_[number] = multipliers(k, 0);
        }
    }

    [[nodiscard]] Progress report() {
        const double* point = solution.xstarRef().getData();
        const std::size_t n = OPTsizes::getnVar() - (isPhaseOne() ? 1 : 0);
        Progress progress = progress_(point);
        progress.active = ActiveSet::getmaConstr();
        double step = 0.0;
        for (std::size_t i = 0; i < n && n == last_.size() && hasDirection_; ++i) {
            step = std::hypot(step, point[i] - last_[i]);
        }
        last_.assign(point, point + n);
        progress.step = step;
        hasDirection_ = false;
        return progress;
    }

    Control& control_;
    const Precision& precision_;
    const std::function<Progress(const double*)>& progress_;
    std::unordered_map<std::uint64_t, int> seen_;
    bool isCycling_ = false;
    bool wasPhaseOne_ = false;
    bool hasDirection_ = false;
    Vector last_;
    Vector stalledAt_;
    std::size_t minima_ = 0;  ///< met at `stalledAt_`
    Vector phaseOneMultipliers_;
};

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

/// Temporaries of the matrices go when a run ends, however it ends.
struct PoolRelease {
    PoolRelease() = default;
    ~PoolRelease() { releaseMatrixPool(); }
    PoolRelease(const PoolRelease&) = delete;
    PoolRelease(PoolRelease&&) = delete;
    PoolRelease& operator=(const PoolRelease&) = delete;
    PoolRelease& operator=(PoolRelease&&) = delete;
};

void solveInto(Run& run,
               WatchedSolver& solver,
               Lowering& lowering,
               IoptObjective& objective,
               IoptOption& options,
               const Vector& x,
               const CoreSet& set) {
    const std::size_t n = lowering.variables();
    const std::size_t mIneq = lowering.inequalities().size();
    const std::size_t mEq = lowering.equalities().size();
    // After the objective: it needs to know how many variables there are.
    LinearConstraint constraint(wrapped(lowering.A, mIneq, n), wrapped(lowering.b, mIneq, 1),
                                wrapped(lowering.Aeq, mEq, n), wrapped(lowering.beq, mEq, 1),
                                wrapped(lowering.lb, n, 1), wrapped(lowering.ub, n, 1));
    const ASsolution solution =
        solver(objective, constraint, vxCreateDoubleMatrixFrom(x.data(), n, 1), options,
               columnOf(set.inequalities), columnOf(set.lower), columnOf(set.upper));
    run.exitCode = solution.getSolutoinState();
    const Matrix& point = solution.xstarRef();
    const Matrix& multipliers = solution.lambdaRef();
    run.x.assign(point.getData(), point.getData() + point.size());
    run.lambda.assign(multipliers.getData(), multipliers.getData() + multipliers.size());
    const ActiveSet& active = solver.getActiveSet();
    const auto copy = [](const std::size_t* list, std::size_t count) {
        return std::vector<std::size_t>(list, list + count);
    };
    run.set = {copy(active.getWineq(), ActiveSet::getmaIneq()),
               copy(active.getWlower(), ActiveSet::getmaLB()),
               copy(active.getWupper(), ActiveSet::getmaUB())};
    run.droppedEqualities = solver.getDroppedEqualities();
}

}  // namespace

Run runCore(Lowering& lowering,
            Vector& H,
            Vector& c,
            const Vector& x,
            const CoreSet& set,
            const Precision& precision,
            Control& control,
            const std::function<Progress(const double* x)>& progress) {
    Run run;
    const std::size_t n = lowering.variables();
    const CallScope scope;
    const PoolRelease pool;
    const CountsGuard counts;  // whoever uses the classes finds theirs again
    WatchedSolver solver(control, precision, progress);
    ASoption options = optionsOf(precision);
    std::unique_ptr<IoptObjective> objective;
    vxArray* const linear = wrapped(c, n, 1);
    if (H.empty()) {
        objective = std::make_unique<LPobjective>(linear);
    } else {
        objective = std::make_unique<QPobjective>(wrapped(H, n, n), linear);
    }
    try {
        solveInto(run, solver, lowering, *objective, options, x, set);
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
