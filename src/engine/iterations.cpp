// The primal active-set iteration: each pass moves along a direction and takes in the first
// blocking constraint, or lets the constraint with the most negative multiplier go.
#include <algorithm>
#include <span>

#include "activeset/sizes.hpp"
#include "activeset/solver.hpp"

using activeset::PassMessage;
using Matrix = OPTMatrix<double>;
using Event = PassMessage::Event;

void IsolverAS::ASiterations() {
    _requireProblem();
    _requireWorkingSet();
    if (options == nullptr) {
        vxErrMsgIdAndTxt("optim:src:activesetqp:problemNullPointer", "options is a NULL pointer.");
    }
    double alpha = 1.0;
    computeDirection = true;
    ineqResiduals.forget();
    iterMessage = PassMessage(Event::Start);
    activesetChangeIndicator = NoIncrementalChange;
    Matrix p(OPTsizes::getnVar(), 1);
    Matrix g(OPTsizes::getnVar(), 1);
    objective->gradientTo(solution.xstarRef(), g);
    _updateObjectiveValue();
    solution.setSolutionState(ASQP::Undecided);
    const utInterruptMode interruptMode(0);
    _iterativeDisplay(p, g, 1.0);

    while (solution.getSolutoinState() == ASQP::Undecided) {
        const bool isDirectionPass = _searchDirection(g, p);
        if (isDirectionPass) {
            _directionStep(p, alpha);
            objective->gradientTo(solution.xstarRef(), g);
        } else {
            _multiplierPass(g);
        }
        _activesetUpdate(isDirectionPass);
        _iterativeDisplay(p, g, alpha);
        activeset::releaseMatrixPool();
    }

    _updateObjectiveValue();
    setLambdaForAllConstraints(g);
    solution.setlambda(lambda);
}

// The direction of this pass; false when there is none to follow: after a full step p is zero, and
// a computed one that is too short stays as it is.
bool IsolverAS::_searchDirection(Matrix& g, Matrix& p) {
    if (!computeDirection) {
        p.fill(0.0);
        return false;
    }
    iterMessage = {};
    getSearchDirection(g, p);
    return !(p.norm() < options->getTolX());
}

// Ratio test, change of the working set, step.
void IsolverAS::_directionStep(Matrix& p, double& alpha) {
    computeDirection = true;
    const Blocking blocking = _blockingConstraint(p);
    alpha = blocking.alpha;
    if (!blocking.isFound) {
        if (_unboundedOrIllPosed(p, alpha)) {
            iterMessage = PassMessage(Event::Unbounded);
        }
        computeDirection = false;
        // After the test above: a linear objective with nothing active ends as optimal. Kept, the
        // outcome code of such problems depends on it.
        if (ActiveSet::getmaConstr() == 0) {
            iterMessage = PassMessage(Event::OptimalWithoutConstraints);
            solution.setSolutionState(ASQP::Optimal);
        }
    } else {
        _append(blocking);
    }
    solution.step(p, alpha);
    if (_carriesResiduals()) {
        const Matrix& point = solution.xstarRef();
        ineqResiduals.follow(alpha, std::span(ineqRates.getData(), ineqRates.size()),
                             std::span(point.getData(), point.size()));
    }
}

void IsolverAS::_multiplierPass(Matrix& g) {
    computeLambda(g, lambda);
    _findMinLambda();
    if (minLambda < 0.0) {  // exact zero, no tolerance; NaN ends the iteration
        removeConstraint(minLambdaIndex);
        computeDirection = true;
        return;
    }
    minLambdaIndex = activeset::NoIndex;
    iterMessage = PassMessage(Event::Optimal);
    solution.setSolutionState(ASQP::Optimal);
}

void IsolverAS::_findMinLambda() {
    const size_t first = ActiveSet::getmaEq() + ActiveSet::getmaFixed();
    // With nothing removable in the working set this is the entry behind its multipliers, a zero;
    // a problem without variables has no such entry.
    minLambda = first < lambda.getRows() ? lambda(first, 0) : 0.0;
    minLambdaIndex = first;
    for (size_t i = first + 1; i < ActiveSet::getmaConstr(); ++i) {
        if (lambda(i, 0) < minLambda) {  // strict: ties keep the first
            minLambda = lambda(i, 0);
            minLambdaIndex = i;
        }
    }
}

// The loop's own test differs for NaN only.
int IsolverAS::_isLambdaNonNeg() {
    _findMinLambda();
    if (minLambda >= 0.0) {
        minLambdaIndex = activeset::NoIndex;
        return 1;
    }
    return 0;
}

// Room for the rates and residuals of any one kind.
void IsolverAS::_reservePassVectors() {
    const size_t longest = std::max({OPTsizes::getmIneq(), OPTsizes::getmLB(), OPTsizes::getmUB()});
    if (rates.size() < longest || residuals.size() < longest) {
        rates.reset(longest, 1);
        residuals.reset(longest, 1);
    }
    if (ineqRates.size() != OPTsizes::getmIneq()) {
        ineqRates.reset(OPTsizes::getmIneq(), 1);
    }
}
