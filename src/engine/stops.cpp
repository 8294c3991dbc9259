// The book-keeping at the end of every pass: iteration count and the stops other than optimality.
#include "activeset/sizes.hpp"
#include "activeset/solver.hpp"

using Matrix = OPTMatrix<double>;

void IsolverAS::_activesetUpdate(bool checkObjectiveLimit) {
    // Later stops overwrite earlier ones: the objective limit wins over the iteration limit.
    if ((utInterruptState::flags_pending.load(std::memory_order_relaxed) & 1U) != 0) {
        solution.setSolutionState(ASQP::Interrupted);
    }
    _incrementCurrentIter();
    if (currentIter > options->getMaxIter()) {
        solution.setSolutionState(ASQP::MaxIterReached);
    }
    if (vxRemainder(currentIter, 50.0) == 0.0) {
        _repairFeasibility();
    }
    if (options->getObjectiveLimit() > -utGetRealMax() && checkObjectiveLimit) {
        _updateObjectiveValue();
        if (options->getObjectiveLimit() >= solution.fstarRef()(0, 0)) {
            solution.setSolutionState(ASQP::ObjectiveLimitReached);
        }
    }
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

double IsolverAS::_largestViolation(const Matrix& at) const {
    return constraint->constrViolation(at).maximum().value;
}
