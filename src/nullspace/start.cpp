// Before the iterations: the initial working set is read and made independent, and the start
// point moved onto it.
#include <algorithm>

#include "activeset/null_space.hpp"
#include "activeset/sizes.hpp"
#include "host/handles.hpp"
#include "host/lapack.hpp"
#include "matrix/views.hpp"

using activeset::ownedArray;
using Matrix = OPTMatrix<double>;

namespace {

// The solver's own copy of a list from the host: a column of doubles, whatever class and storage
// the list has.
std::shared_ptr<vxArray> copyOfList(const vxArray* list) {
    const size_t count = list == nullptr || vxIsEmpty(list) ? 0 : vxGetM(list);
    auto copy = ownedArray(vxCreateDoubleMatrix(count, 1, vxComplexity::Real));
    double* values = vxGetDoubles(copy.get());
    for (size_t i = 0; i < count; ++i) {
        values[i] = vxGetElement(list, i, 0);
    }
    return copy;
}

}  // namespace

bool NullSpaceAS::_preSolveWorkingSet(IoptObjective& problemObjective,
                                      IoptConstraint& problemConstraint,
                                      IoptOption& problemOptions,
                                      Matrix& start,
                                      const vxArray* Wineq,
                                      const vxArray* Wlower,
                                      const vxArray* Wupper) {
    WineqArray = copyOfList(Wineq);
    WupperArray = copyOfList(Wupper);
    WlowerArray = copyOfList(Wlower);
    const auto load = [&](const vxArray* ineq, const vxArray* lower, const vxArray* upper) {
        init(&problemObjective, &problemConstraint, &problemOptions, start, WfixedArray.get(),
             WeqArray.get(), ineq, lower, upper);
    };
    if (_removeDependentEq(problemConstraint) < 0) {
        load(nullptr, nullptr, nullptr);
        solution.setSolutionState(ASQP::DependentConstraints);
        return false;
    }
    _resizeWorkingSetInfo();
    load(WineqArray.get(), WlowerArray.get(), WupperArray.get());
    _makeWorkingSetIndependent();
    if (!feasibleWorkingSetX0(start, problemConstraint)) {
        if (problemOptions.getDisplay() == "testing") {
            utPrintf(" Wrong tolerance used to detect dependent constraints ");
        }
        solution.setSolutionState(ASQP::DependentConstraints);
        return false;
    }
    solution.setxstar(start);
    _setCurrentIter(0);
    if (ActiveSet::getmaEq() + ActiveSet::getmaFixed() != OPTsizes::getnVar()) {
        return true;
    }
    // The equality-type constraints alone determine the point.
    if (!(_largestViolation(start) > problemOptions.getTolCon())) {
        return true;
    }
    _getQR();
    Matrix g = problemObjective.grad(start);
    computeLambda(g, lambda);
    setLambdaForAllConstraints(g);
    solution.setlambda(lambda);
    solution.setSolutionState(ASQP::Infeasible);
    return false;
}

bool NullSpaceAS::feasibleWorkingSetX0(Matrix& point, IoptConstraint& constraints) {
    const size_t n = OPTsizes::getnVar();
    const size_t m = ActiveSet::getmaConstr();
    if (m == 0) {
        return true;
    }
    Matrix bw(m, 1);
    _createbw(bw, constraints);
    // A scratch copy: the least-squares solve destroys its matrix, and the factors of the working
    // set must survive a repair in mid-loop.
    Matrix scratch(n, m, true);
    _copyAw(scratch);
    const activeset::Block A = activeset::viewOf(scratch);
    const size_t rows = std::max(n, m);
    Matrix B(rows, 2);
    double* residual = B.getData();
    double* rhs = B.getData() + rows;
    std::copy_n(bw.getData(), m, residual);
    std::copy_n(bw.getData(), m, rhs);
    // bw − Awᵀx
    activeset::blas::gemv(activeset::Op::Transpose, -1.0, A, activeset::vectorOf(point, n), 1.0,
                          residual);
    if (activeset::lapack::gelsTransposed(A, activeset::viewOf(B)) != 0) {
        return false;
    }
    Matrix moved(n, 1);
    Matrix shortest(n, 1);
    for (size_t i = 0; i < n; ++i) {
        moved(i, 0) = point(i, 0) + residual[i];
        shortest(i, 0) = rhs[i];
    }
    const double ofMoved = constraints.constrViolation(moved).maximum().value;
    const double ofShortest = constraints.constrViolation(shortest).maximum().value;
    const bool keepsNear = ofMoved <= activeset::machineEpsilon() || ofShortest >= ofMoved;
    point = keepsNear ? moved : shortest;
    return true;
}
