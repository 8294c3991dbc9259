// Binding a problem and a working set to the solver, and letting go of them.
#include <algorithm>
#include <cmath>
#include <limits>
#include <span>
#include <string>

#include "activeset/sizes.hpp"
#include "activeset/solver.hpp"
#include "matrix/views.hpp"

using Matrix = OPTMatrix<double>;

const double IsolverAS::TolDegeneracy = 1000.0 * activeset::machineEpsilon();

namespace {

constexpr const char* NullPointerIdentifier = "optim:src:activesetqp:problemNullPointer";

void raiseBadWorkingSet() {
    vxErrMsgIdAndTxt("optim:src:activesetqp:setWsetIndicesError",
                     "_setWsetIndices failed to initialize the working-set indices.");
}

// Assignment that may change the shape, for members which a problem of another size reuses.
void replace(Matrix& member, const Matrix& value) {
    if (member.getRows() != value.getRows() || member.getCols() != value.getCols()) {
        member.clear();
    }
    member = value;
}

}  // namespace

IsolverAS::IsolverAS(IoptObjective* boundObjective,
                     IoptConstraint* boundConstraint,
                     IoptOption* boundOptions)
    : objective(boundObjective), constraint(boundConstraint), options(boundOptions) {}

IsolverAS& IsolverAS::operator=(const IsolverAS& other) {
    if (this == &other) {
        return *this;
    }
    resetIsolverAS();  // the other's matrices may have other shapes
    objective = other.objective;
    constraint = other.constraint;
    options = other.options;
    x = other.x;
    lambda = other.lambda;
    minLambdaIndex = other.minLambdaIndex;
    minLambda = other.minLambda;
    iterMessage = other.iterMessage;
    currentIter = other.currentIter;
    repairCount = other.repairCount;
    Aw = other.Aw;
    newActiveConstraint = other.newActiveConstraint;
    activesetChangeIndicator = other.activesetChangeIndicator;
    activeSet = other.activeSet;
    solution = other.solution;
    rates = other.rates;
    residuals = other.residuals;
    ineqRates = other.ineqRates;
    smallestCarried = other.smallestCarried;
    computeDirection = other.computeDirection;
    return *this;
}

IsolverAS::~IsolverAS() = default;

bool IsolverAS::feasibleWorkingSetX0(Matrix& /*x*/, IoptConstraint& /*constraints*/) {
    return true;
}

void IsolverAS::init(IoptObjective* newObjective,
                     IoptConstraint* newConstraint,
                     IoptOption* newOptions,
                     Matrix& start,
                     const vxArray* Wfixed,
                     const vxArray* Weq,
                     const vxArray* Wineq,
                     const vxArray* Wlower,
                     const vxArray* Wupper) {
    if (objective == nullptr && newObjective == nullptr) {
        vxErrMsgIdAndTxt(NullPointerIdentifier, "objective is a NULL pointer.");
    }
    objective = newObjective;  // a null replaces a stored objective; _requireProblem finds it
    if (constraint == nullptr && newConstraint == nullptr) {
        vxErrMsgIdAndTxt(NullPointerIdentifier, "constraint is a NULL pointer.");
    }
    constraint = newConstraint;
    options = newOptions;
    iterMessage = {};
    currentIter = 0;
    repairCount = 0;
    activesetChangeIndicator = NoIncrementalChange;  // no factors follow into the new problem
    replace(x, start);
    if (activeSet.setWsetIndices(Wfixed, Weq, Wineq, Wlower, Wupper) < 0) {
        raiseBadWorkingSet();
    }
    const size_t n = OPTsizes::getnVar();
    newActiveConstraint.reset(1, n);
    Aw.reset(n, n);
    if (_createAw() < 0) {
        vxErrMsgIdAndTxt("optim:src:activesetqp:createWsetError",
                         "_createWset failed to initialize working-set constraint matrix.");
    }
    lambda.reset(OPTsizes::getnEq() + 2 * n + OPTsizes::getmIneq(), 1);
    const double f = objective->valueAt(x);
    solution.resetSolution();
    solution.setxstar(x);
    solution.setfstar(f);
    solution.setlambda(lambda);
    solution.setSolutionState(ASQP::Initialized);
}

void IsolverAS::resetIsolverAS() {
    Aw.clear();
    rates.clear();
    residuals.clear();
    ineqRates.clear();
    ineqResiduals.clear();
    x.clear();
    lambda.clear();
    newActiveConstraint.clear();
    solution.resetSolution();
}

void IsolverAS::_requireProblem() const {
    if (objective == nullptr) {
        vxErrMsgIdAndTxt(NullPointerIdentifier, "objective is a NULL pointer.");
    }
    if (constraint == nullptr) {
        vxErrMsgIdAndTxt(NullPointerIdentifier, "constraint is a NULL pointer.");
    }
}

// The counts are the thread's: another solver's set-up may have changed them.
void IsolverAS::_requireWorkingSet() const {
    if (!activeSet.holdsWhatIsCounted()) {
        raiseBadWorkingSet();
    }
}

void IsolverAS::_incrementCurrentIter() noexcept {
    // A limit of the largest int can not be exceeded; neither must the counter overflow.
    if (currentIter < std::numeric_limits<int>::max()) {
        ++currentIter;
    }
}
