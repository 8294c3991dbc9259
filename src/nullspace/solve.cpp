// One solve from start to end, and the life of the solver object.

#include "activeset/null_space.hpp"
#include "activeset/sizes.hpp"
#include "host/console_text.hpp"
#include "matrix/matrix_pool.hpp"
#include "nullspace/workspace.hpp"

using Matrix = OPTMatrix<double>;

namespace {

// The solve moves its point: it works on a copy, dense and of doubles whatever the host passed.
Matrix copyOfStart(const vxArray* x0) {
    if (x0 == nullptr) {
        return {};
    }
    Matrix x(vxGetM(x0), vxGetN(x0));
    if (vxIsEmpty(x0)) {
        return x;  // its other dimension may be anything, too much to be counted to
    }
    for (size_t j = 0; j < x.getCols(); ++j) {
        for (size_t i = 0; i < x.getRows(); ++i) {
            x(i, j) = vxGetElement(x0, i, j);
        }
    }
    return x;
}

}  // namespace

NullSpaceAS::NullSpaceAS() : IsolverAS(nullptr, nullptr, nullptr) {}

NullSpaceAS& NullSpaceAS::operator=(const NullSpaceAS& other) {
    if (this == &other) {
        return *this;
    }
    IsolverAS::operator=(other);
    resetFactorization();  // the other's matrices may have other shapes
    Q = other.Q;
    QRwset = other.QRwset;
    tau = other.tau;
    initialized = other.initialized;
    WeqArray = other.WeqArray;
    WfixedArray = other.WfixedArray;
    WineqArray = other.WineqArray;
    WlowerArray = other.WlowerArray;
    WupperArray = other.WupperArray;
    nWlowerSaved = other.nWlowerSaved;
    nWupperSaved = other.nWupperSaved;
    nWineqSaved = other.nWineqSaved;
    WineqPhaseOne = other.WineqPhaseOne;
    WlowerPhaseOne = other.WlowerPhaseOne;
    WupperPhaseOne = other.WupperPhaseOne;
    phaseOneOutcome = other.phaseOneOutcome;
    droppedEqualities = other.droppedEqualities;
    workspace = other.workspace;
    return *this;
}

// Copies of a solver start out sharing the workspace; the first that needs one makes its own.
activeset::NullSpaceWorkspace& NullSpaceAS::_workspace() {
    if (workspace.use_count() != 1) {
        workspace = std::make_shared<activeset::NullSpaceWorkspace>();
    }
    return *workspace;
}

NullSpaceAS::~NullSpaceAS() {
    _restoreWorkingSetInfo();
}

// The two spellings of the label are the interface's own; output is compared character by
// character.
void NullSpaceAS::PrintSizes() {
    activeset::printValues("Qrwset, rows ", QRwset.getRows(), '\n',  //
                           "QRwset, col ", QRwset.getCols(), '\n',   //
                           "initialized ", static_cast<int>(initialized), '\n');
}

ASsolution NullSpaceAS::operator()(IoptObjective& problemObjective,
                                   IoptConstraint& problemConstraint,
                                   const vxArray* x0,
                                   IoptOption& problemOptions,
                                   const vxArray* Wineq,
                                   const vxArray* Wlower,
                                   const vxArray* Wupper) {
    const activeset::CallScope temporaries;
    const activeset::KeepPoolMemory poolMemory;
    // Nothing of an earlier solve, perhaps of another size, may be left.
    _restoreWorkingSetInfo();
    resetFactorization();
    resetIsolverAS();
    phaseOneOutcome = {};
    droppedEqualities.clear();

    Matrix start = copyOfStart(x0);
    if (!_preSolveWorkingSet(problemObjective, problemConstraint, problemOptions, start, Wineq,
                             Wlower, Wupper)) {
        return solution;
    }
    double violation = _largestViolation(start);
    if (violation > problemOptions.getTolCon()) {
        _phaseOneSolve(&problemConstraint, &problemOptions, violation, start);
        init(&problemObjective, &problemConstraint, &problemOptions, start, WfixedArray.get(),
             WeqArray.get(), WineqPhaseOne.get(), WlowerPhaseOne.get(), WupperPhaseOne.get());
        violation = _largestViolation(start);
        if (violation > problemOptions.getTolCon()) {
            return _infeasibleSolution(problemObjective, start);
        }
        _makeWorkingSetIndependent();
        const double before = _largestViolation(start);
        static_cast<void>(feasibleWorkingSetX0(start, problemConstraint));
        if (before > _largestViolation(start)) {
            solution.setxstar(start);
        }
    }
    ASiterations();
    return solution;
}

// Phase one ended at a point that violates the constraints: multipliers are all zero.
ASsolution NullSpaceAS::_infeasibleSolution(IoptObjective& problemObjective, Matrix& point) {
    const Matrix zeros(OPTsizes::getmIneq() + OPTsizes::getnEq() + 2 * OPTsizes::getnVar(), 1);
    solution.resetSolution();
    const Matrix f = problemObjective.fval(point);
    solution.setxstar(point);
    solution.setfstar(f);
    solution.setlambda(zeros);
    solution.setSolutionState(ASQP::Infeasible);
    return solution;
}
