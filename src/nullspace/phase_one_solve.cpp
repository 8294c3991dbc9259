// A feasible point by the iteration itself, on the problem in (x, γ) that relaxes every inequality
// and bound by γ and minimises γ.
#include <cmath>

#include "activeset/null_space.hpp"
#include "activeset/sizes.hpp"
#include "host/console_text.hpp"
#include "host/handles.hpp"
#include "matrix/views.hpp"
#include "thread_state.hpp"

using activeset::ownedArray;
using Matrix = OPTMatrix<double>;

namespace {

/// What phase one changes outside itself and puts back on every way out: the objective limit and
/// TolX of the caller's options, and the problem sizes; the working-set counts only on an error.
class PhaseOneGuard {
public:
    explicit PhaseOneGuard(IoptOption& options)
        : options_(options),
          objectiveLimit_(options.getObjectiveLimit()),
          tolX_(options.getTolX()),
          sizes_(activeset::threadState().sizes) {}
    ~PhaseOneGuard() {
        options_.setObjectiveLimit(objectiveLimit_);
        options_.setTolX(tolX_);
        activeset::threadState().sizes = sizes_;
    }
    PhaseOneGuard(const PhaseOneGuard&) = delete;
    PhaseOneGuard(PhaseOneGuard&&) = delete;
    PhaseOneGuard& operator=(const PhaseOneGuard&) = delete;
    PhaseOneGuard& operator=(PhaseOneGuard&&) = delete;

    void changeOptions() {
        options_.setObjectiveLimit(options_.getTolCon());
        options_.setTolX(0.01 * std::sqrt(activeset::machineEpsilon()));
    }
    void keepWorkingSet() { counts_.commit(); }

private:
    IoptOption& options_;
    double objectiveLimit_;
    double tolX_;
    activeset::SizeCounts sizes_;
    activeset::CountsGuard counts_;
};

// (x, violation + 1): every constraint is satisfied there with room to spare.
Matrix extendedStart(const Matrix& x, size_t n, double maxViolation) {
    Matrix extended(n + 1, 1);
    for (size_t i = 0; i < n; ++i) {
        extended(i, 0) = x(i, 0);
    }
    extended(n, 0) = maxViolation + 1.0;
    return extended;
}

}  // namespace

void NullSpaceAS::_phaseOneSolve(IoptConstraint* constraints,
                                 IoptOption* solveOptions,
                                 double& maxViolation,
                                 Matrix& point) {
    if (solveOptions->getDisplay() == "testing") {
        activeset::printValues(" Phase-One iterations\n");
    }
    resetFactorization();
    resetIsolverAS();
    const size_t n = OPTsizes::getnVar();
    Matrix start = extendedStart(point, n, maxViolation);
    const auto cost = ownedArray(vxCreateDoubleMatrix(n + 1, 1, vxComplexity::Real));
    vxGetDoubles(cost.get())[n] = 1.0;
    // Whatever happens, this object must not go on pointing at the two phase-one objects.
    const ProblemGuard problem(*this);
    PhaseOneGuard guard(*solveOptions);
    guard.changeOptions();
    PhaseOneObjective phaseOneObjective(cost.get());  // raises nVar by one
    PhaseOneConstraint phaseOneConstraint(constraints);
    init(&phaseOneObjective, &phaseOneConstraint, solveOptions, start, WfixedArray.get(),
         WeqArray.get(), nullptr, nullptr, nullptr);
    initializeFactorization();
    ASiterations();
    for (size_t i = 0; i < n; ++i) {
        point(i, 0) = solution.xstarRef()(i, 0);
    }
    _getWindexFromPhaseOne();
    maxViolation = solution.xstarRef()(n, 0);
    phaseOneOutcome = {true, solution.getSolutoinState(), currentIter, getRepairCount(),
                       maxViolation};
    resetFactorization();
    resetIsolverAS();
    guard.keepWorkingSet();
}

void NullSpaceAS::_getWindexFromPhaseOne() {
    const size_t n = OPTsizes::getnVar();  // γ included
    const size_t boundOfArtificial =
        OPTsizes::getmIneq() + 2 * n + OPTsizes::getmFixed() + OPTsizes::getmEq() - 1;
    size_t position = 0;
    if (activeSet.findConstraint(activeSet.getWset(), ActiveSet::getmaConstr(), boundOfArtificial,
                                 position) == 1) {
        removeConstraint(position);
    }
    // A vertex of the extended problem has one constraint too many for the original one.
    while (ActiveSet::getmaConstr() > ActiveSet::getmaEq() + ActiveSet::getmaFixed() &&
           ActiveSet::getmaConstr() + 1 >= n) {
        removeConstraint(ActiveSet::getmaConstr() - 1);
    }
    WupperPhaseOne = ownedArray(activeSet.getWupperVxArrayPhaseOne());
    WineqPhaseOne = ownedArray(activeSet.getWineqVxArray());
    WlowerPhaseOne = ownedArray(activeSet.getWlowerVxArray());
}
