// The stops other than optimality: those of a step without end, and those that are looked at when a
// pass is over, with its book-keeping.
#include <cmath>

#include "activeset/sizes.hpp"
#include "activeset/solver.hpp"
#include "host/interrupt.hpp"

using activeset::ObjectiveKind;
using Matrix = OPTMatrix<double>;

namespace {

constexpr size_t ErrorNormFactor = 100;  // times n·√ε
constexpr double PassesBetweenRepairs = 50.0;

}  // namespace

bool IsolverAS::_unboundedOrIllPosed(Matrix& p, double& /*alpha*/) {
    _requireProblem();
    if (!_isLinear()) {
        return false;
    }
    if (p.norm() > getErrorNorm()) {
        solution.setSolutionState(ASQP::Unbounded);
    } else {
        solution.setSolutionState(ASQP::IllPosed);
    }
    return true;
}

bool IsolverAS::_isLinear() const {
    return objective->objectiveKind() == ObjectiveKind::Linear;
}

double IsolverAS::getErrorNorm() const {  // NOLINT(readability-convert-member-functions-to-static)
    return static_cast<double>(ErrorNormFactor * OPTsizes::getnVar()) *
           std::sqrt(activeset::machineEpsilon());
}

void IsolverAS::_activesetUpdate(bool checkObjectiveLimit) {
    // Later stops overwrite earlier ones: the objective limit wins over the iteration limit.
    if (activeset::isInterruptPending()) {
        solution.setSolutionState(ASQP::Interrupted);
    }
    _incrementCurrentIter();
    if (currentIter > options->getMaxIter() || !_mayGoOn()) {
        solution.setSolutionState(ASQP::MaxIterReached);
    }
    if (vxRemainder(currentIter, PassesBetweenRepairs) == 0.0) {
        _repairFeasibility();
    }
    if (options->getObjectiveLimit() > -utGetRealMax() && checkObjectiveLimit) {
        _updateObjectiveValue();
        if (options->getObjectiveLimit() >= solution.fstarRef()(0, 0)) {
            solution.setSolutionState(ASQP::ObjectiveLimitReached);
        }
    }
}

bool IsolverAS::_mayGoOn() {
    return true;
}

// Rounding may have carried the point off the constraints: move it back onto the working set, and
// have the factorisation rebuilt before the next direction.
void IsolverAS::_repairFeasibility() {
    const double before = _largestViolation(solution.xstarRef());
    if (!(before > options->getTolCon())) {
        return;
    }
    ++repairCount;
    Matrix moved(OPTsizes::getnVar(), 1);
    moved = solution.xstarRef();
    if (!feasibleWorkingSetX0(moved, *constraint)) {
        solution.setSolutionState(ASQP::Infeasible);
    }
    activesetChangeIndicator = NoIncrementalChange;
    if (before > _largestViolation(moved)) {
        solution.setxstar(moved);
    }
}
