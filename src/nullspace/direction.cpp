// Search direction and multipliers from the factors of the working set. See Gill, Murray and
// Wright, Practical Optimization, on null-space methods for linear constraints.
#include <algorithm>
#include <cmath>
#include <limits>
#include <typeinfo>

#include "activeset/null_space.hpp"
#include "activeset/sizes.hpp"
#include "host/lapack.hpp"
#include "matrix/views.hpp"
#include "nullspace/few_entries.hpp"
#include "nullspace/workspace.hpp"

using activeset::Block;
using activeset::ConstBlock;
using activeset::Op;
using activeset::vectorOf;
using activeset::viewOf;
using Matrix = OPTMatrix<double>;

namespace blas = activeset::blas;
namespace lapack = activeset::lapack;

namespace {

// To rounding: the updates work on a symmetric matrix, while LAPACK sees one triangle only.
bool isSymmetric(ConstBlock H) {
    constexpr double SymmetryTolerance = 16.0 * std::numeric_limits<double>::epsilon();
    for (activeset::Int j = 0; j < H.cols; ++j) {
        for (activeset::Int i = 0; i < j; ++i) {
            const double above = H.data[j * H.ld + i];
            const double below = H.data[i * H.ld + j];
            if (!(std::abs(above - below) <=
                  SymmetryTolerance * (std::abs(above) + std::abs(below)))) {
                return false;
            }
        }
    }
    return true;
}

}  // namespace

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
    _requireProblem();
    const size_t n = OPTsizes::getnVar();
    const size_t m = ActiveSet::getmaConstr();
    if (m >= n) {
        p.fill(0.0);
        return 0;
    }
    const size_t nz = n - m;
    const Block Z = activeset::block(Q, m, nz, n);
    activeset::DirectionVectors& vectors = _workspace().vectors;
    vectors.reserve(n);
    double* reduced = vectors.reduced();
    activeset::multiplyTransposed(Z, vectorOf(g, n), reduced);
    int result = 0;
    if (objective->objectiveKind() == activeset::ObjectiveKind::Quadratic) {
        QPobjective* quadratic = _quadraticObjective();
        if (quadratic == nullptr) {
            vxErrMsgIdAndTxt("optim:activesetqp:LinearSolveError", "QPobjective pointer is NULL.");
        }
        Matrix& H = quadratic->getHessian();
        if (_followKeptFactor(H, nz, reduced, p)) {
            return 0;
        }
        result = _solveReduced(H, nz, reduced);
    }
    blas::gemv(Op::None, -1.0, Z, reduced, 0.0, vectorOf(p, n));
    return result;
}

// Null when the objective is none. The exact class is looked at first: that costs nothing.
QPobjective* NullSpaceAS::_quadraticObjective() const {
    if (objective != nullptr && typeid(*objective) == typeid(QPobjective)) {
        return static_cast<QPobjective*>(objective);
    }
    return dynamic_cast<QPobjective*>(objective);
}

// p from the factor that was kept from the last pass. False when there is none, when ZᵀH·p misses
// the reduced gradient by more than an update may lose beside LAPACK's own rounding, or when the
// step is so long that the matrix may be singular: LAPACK decides then.
bool NullSpaceAS::_followKeptFactor(Matrix& H, size_t nz, const double* reduced, Matrix& p) {
    constexpr double ResidualTolerance = 1e-12;
    constexpr double LargestCondition = 1e11;
    activeset::ReducedHessian& kept = _workspace().reducedHessian;
    const size_t n = OPTsizes::getnVar();
    if (!kept.isCurrent() || kept.order() != nz) {
        return false;
    }
    const Block Z = activeset::block(Q, n - nz, nz, n);
    activeset::DirectionVectors& vectors = _workspace().vectors;
    double* solved = vectors.solved();
    double* curved = vectors.curved();
    double* product = vectors.product();
    std::copy_n(reduced, nz, solved);
    kept.solve(solved);
    blas::gemv(Op::None, -1.0, Z, solved, 0.0, vectorOf(p, n));
    blas::gemv(Op::None, 1.0, activeset::block(H, 0, n, n), p.getData(), 0.0, curved);
    blas::gemv(Op::Transpose, 1.0, Z, curved, 0.0, product);
    double error = 0.0;
    double length = 0.0;
    double size = 0.0;
    for (size_t k = 0; k < nz; ++k) {
        error = std::max(error, std::abs(product[k] + reduced[k]));
        length = std::max(length, std::abs(solved[k]));
        size = std::max(size, std::abs(reduced[k]));
    }
    return error <= ResidualTolerance * (kept.scale() * length + size) &&
           kept.scale() * length <= LargestCondition * size;
}

// reduced := (ZᵀHZ)⁻¹·reduced, nz entries, ZᵀHZ formed afresh. Positive: not positive definite, as
// LAPACK says; `reduced` stays as it was then.
int NullSpaceAS::_solveReduced(Matrix& H, size_t nz, double* reduced) {
    const size_t n = OPTsizes::getnVar();
    activeset::NullSpaceWorkspace& own = _workspace();
    if (!own.updatesAllowed || !isSymmetric(activeset::block(H, 0, n, n))) {
        return _solveReducedPlainly(H, nz, reduced);
    }
    const auto info = own.reducedHessian.formAndSolve(activeset::block(H, 0, n, n),
                                                      activeset::block(Q, n - nz, nz, n), reduced);
    optimAssert(info >= 0, "Call to DPOTRF failed in NullSpaceAS::_symPosDefLinearSolve");
    return static_cast<int>(info);
}

// The same without kept factors: form, factorise, solve.
int NullSpaceAS::_solveReducedPlainly(Matrix& H, size_t nz, double* reduced) {
    const size_t n = OPTsizes::getnVar();
    const Block Z = activeset::block(Q, n - nz, nz, n);
    Matrix ZtH(nz, n, true);
    blas::gemm(Op::Transpose, Op::None, 1.0, Z, activeset::block(H, 0, n, n), 0.0, viewOf(ZtH));
    Matrix ZtHZ(nz, nz, true);
    blas::gemm(Op::None, Op::None, 1.0, viewOf(ZtH), Z, 0.0, viewOf(ZtHZ));
    Matrix rightHandSide(nz, 1, true);
    std::copy_n(reduced, nz, rightHandSide.getData());
    double spare = 0.0;
    const int result = _symPosDefLinearSolve(ZtHZ, rightHandSide, spare);
    std::copy_n(rightHandSide.getData(), nz, reduced);
    if (result < 0) {
        vxErrMsgIdAndTxt("optim:activesetqp:LinearSolveError", "LinearSolver failed.");
    }
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

// Of Qᵀg only the first maConstr entries meet the triangle.
void NullSpaceAS::_computeLambda(Matrix& g, Matrix& multipliers) {
    const size_t n = OPTsizes::getnVar();
    const size_t m = ActiveSet::getmaConstr();
    activeset::DirectionVectors& vectors = _workspace().vectors;
    vectors.reserve(std::max(n, m));  // phase one may have more constraints than variables
    double* u = vectors.solved();
    activeset::multiplyTransposed(activeset::block(Q, 0, m, n), vectorOf(g, n), u);
    const auto info = lapack::trtrs(activeset::block(QRwset, 0, m, m), Block(u, m, 1));
    optimAssert(info == 0, "Error calling DTRTRS from NullSpaceAS::_computeLambda");
    multipliers.fill(0.0);
    double* values = vectorOf(multipliers, m);
    for (size_t k = 0; k < m; ++k) {
        values[k] = -u[k];
    }
}
