// Search direction and multipliers from the factors of the working set. See Gill, Murray and
// Wright, Practical Optimization, on null-space methods for linear constraints.
#include <algorithm>
#include <span>

#include "activeset/null_space.hpp"
#include "activeset/sizes.hpp"
#include "host/lapack.hpp"
#include "matrix/views.hpp"

using activeset::MatrixView;
using activeset::Op;
using activeset::vectorOf;
using activeset::viewOf;
using Matrix = OPTMatrix<double>;

namespace blas = activeset::blas;
namespace lapack = activeset::lapack;

void NullSpaceAS::getSearchDirection(Matrix& g, Matrix& p) {
    const bool isAddition = activesetChangeIndicator == ConstraintAdded;
    const bool isRemoval = activesetChangeIndicator == ConstraintRemoved;
    if (isAddition && ActiveSet::getmaConstr() > 1) {
        _QRinsertColumn(newActiveConstraint);
    } else if (isRemoval) {
        _QRdeleteColumn(indexOfDepartingConstraint());
    } else {
        _newQR();
    }
    if (_solveSubProblem(g, p) > 0) {
        solution.setSolutionState(ASQP::HessianNotPositiveDefinite);
    }
}

void NullSpaceAS::computeLambda(Matrix& g, Matrix& multipliers) {
    _computeLambda(g, multipliers);
}

int NullSpaceAS::_solveSubProblem(Matrix& g, Matrix& p) {
    const size_t n = OPTsizes::getnVar();
    const size_t m = ActiveSet::getmaConstr();
    if (m >= n) {
        p.fill(0.0);
        return 0;
    }
    const size_t nz = n - m;
    const MatrixView Z = activeset::block(Q, m, nz, n);
    Matrix reduced(nz, 1, true);
    blas::gemv(Op::Transpose, 1.0, Z, vectorOf(g, n), 0.0, reduced.getData());
    int result = 0;
    if (objective->objectiveTypeWord() == "QP") {
        auto* quadratic = dynamic_cast<QPobjective*>(objective);
        if (quadratic == nullptr) {
            vxErrMsgIdAndTxt("optim:activesetqp:LinearSolveError", "QPobjective pointer is NULL.");
        }
        const MatrixView H = activeset::block(quadratic->getHessian(), 0, n, n);
        Matrix ZtH(nz, n, true);
        blas::gemm(Op::Transpose, Op::None, 1.0, Z, H, 0.0, viewOf(ZtH));
        Matrix ZtHZ(nz, nz, true);
        blas::gemm(Op::None, Op::None, 1.0, viewOf(ZtH), Z, 0.0, viewOf(ZtHZ));
        double spare = 0.0;
        result = _symPosDefLinearSolve(ZtHZ, reduced, spare);
        if (result < 0) {
            vxErrMsgIdAndTxt("optim:activesetqp:LinearSolveError", "LinearSolver failed.");
        }
    }
    blas::gemv(Op::None, -1.0, Z, reduced.getData(), 0.0, vectorOf(p, n));
    return result;
}

// Not positive definite is a fact about the data: B stays as it was and LAPACK's info, the order
// of the offending leading minor, is the result.
// NOLINTNEXTLINE(readability-convert-member-functions-to-static)
int NullSpaceAS::_symPosDefLinearSolve(Matrix& A, Matrix& B, double& /*spare*/) {
    constexpr const char* Identifier = "optim:activesetqp:SymPosDefLinearSolve";
    if (A.getRows() != B.getRows()) {
        vxErrMsgIdAndTxt(Identifier, "Matrix dimension must agree.");
    }
    if (A.getRows() != A.getCols()) {
        vxErrMsgIdAndTxt(Identifier, "Matrix must be square.");
    }
    const auto info = lapack::potrf(viewOf(A));
    if (info != 0) {
        optimAssert(info > 0, "Call to DPOTRF failed in NullSpaceAS::_symPosDefLinearSolve");
        return static_cast<int>(info);
    }
    const auto solveInfo = lapack::potrs(viewOf(A), viewOf(B));
    optimAssert(solveInfo == 0, "Call to DPOTRS failed in NullSpaceAS::_symPosDefLinearSolve");
    return 0;
}

void NullSpaceAS::_computeLambda(Matrix& g, Matrix& multipliers) {
    const size_t n = OPTsizes::getnVar();
    const size_t m = ActiveSet::getmaConstr();
    Matrix t(n, 1, true);
    blas::gemv(Op::Transpose, 1.0, activeset::block(Q, 0, n, n), vectorOf(g, n), 0.0, t.getData());
    const MatrixView u(vectorOf(t, m), m, 1, n);
    const auto info = lapack::trtrs(activeset::block(QRwset, 0, m, m), u);
    optimAssert(info == 0, "Error calling DTRTRS from NullSpaceAS::_computeLambda");
    multipliers.fill(0.0);
    for (size_t k = 0; k < m; ++k) {
        multipliers(k, 0) = -t(k, 0);
    }
}
