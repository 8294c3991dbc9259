// The QR factorisation of the working-set matrix: Aw = Q·R with the full Q.
#include <algorithm>

#include "activeset/null_space.hpp"
#include "activeset/sizes.hpp"
#include "host/lapack.hpp"
#include "matrix/views.hpp"
#include "nullspace/workspace.hpp"

using activeset::block;
using activeset::Block;
using activeset::vectorOf;
using Matrix = OPTMatrix<double>;

namespace {

// target := the entries of packed strictly below the diagonal, which become zero in packed.
void moveBelowDiagonal(Block packed, Block target) {
    for (activeset::Int j = 0; j < std::min(packed.cols, packed.rows); ++j) {
        double* from = packed.data + j * packed.ld;
        std::copy(from + j + 1, from + packed.rows, target.data + j * target.ld + j + 1);
        std::fill(from + j + 1, from + packed.rows, 0.0);
    }
}

}  // namespace

void NullSpaceAS::initializeFactorization() {
    const size_t n = OPTsizes::getnVar();
    const size_t constraints = OPTsizes::getmConstr();
    // With more constraints than variables the column count never matches, so that the factors
    // are always allocated afresh. Kept: it is how they start from zeros then.
    if (initialized && tau.size() == n && QRwset.getCols() == constraints) {
        return;
    }
    if (initialized) {
        resetFactorization();
    }
    QRwset.reset(n, std::min(n, constraints));
    tau.reset(n, 1);
    Q.reset(n, n);
    initialized = true;
}

void NullSpaceAS::resetFactorization() {
    QRwset.clear();
    tau.clear();
    Q.clear();
    _workspace().reducedHessian.invalidate();
    initialized = false;
}

// The first m columns of target := those of Aw; both have n rows, or the fault of an element access
// is raised.
void NullSpaceAS::_copyAw(Matrix& target) const {
    const size_t n = OPTsizes::getnVar();
    const size_t m = ActiveSet::getmaConstr();
    if (Aw.getRows() != n || target.getRows() != n) {
        activeset::raiseMatrixFault("Index exceed number of row.");
    }
    if (m > Aw.getCols() || m > target.getCols()) {
        activeset::raiseMatrixFault("Index exceed number of columns.");
    }
    std::copy_n(Aw.getData(), n * m, target.getData());
}

void NullSpaceAS::_getQR() {
    _copyAw(QRwset);
    const Block packed = activeset::columns(QRwset, 0, ActiveSet::getmaConstr());
    const auto info = activeset::lapack::geqrf(packed, vectorOf(tau, OPTsizes::getnVar()));
    optimAssert(info == 0, "Error calling DGEQRF from NullSpaceAS::_getQR");
}

void NullSpaceAS::_getNull() {
    const size_t n = OPTsizes::getnVar();
    const size_t m = ActiveSet::getmaConstr();
    const Block q = block(Q, 0, n, n);
    moveBelowDiagonal(block(QRwset, 0, m, n), q);
    const auto info =
        activeset::lapack::orgqr(q, static_cast<activeset::Int>(std::min(n, m)), vectorOf(tau, n));
    optimAssert(info == 0, "Error calling DORGQR from NullSpaceAS::_getNull");
}

void NullSpaceAS::_newQR() {
    _workspace().reducedHessian.invalidate();  // it belongs to the former Z
    _getQR();
    _getNull();
}

// Householder QR with column pivoting, A·P = Q·R. The first m × n block of A becomes R (or, when Q
// is not wanted, stays packed). The call sites prepare jpvt.
void NullSpaceAS::_getQRE(
    Matrix& A, Matrix& Qout, Matrix& tauOut, std::int64_t* jpvt, size_t m, size_t n, bool wantQ) {
    const Block packed = block(A, 0, n, m);
    double* scalars = vectorOf(tauOut, std::min(m, n));
    const auto pivotInfo = activeset::lapack::geqp3(packed, jpvt, scalars);
    activeset::Int factorInfo = 0;
    if (pivotInfo == 0) {
        if (m == 0) {
            for (size_t k = 0; k < n; ++k) {
                jpvt[k] = static_cast<std::int64_t>(k + 1);
            }
        }
        if (wantQ) {
            const Block q = block(Qout, 0, m, m);
            moveBelowDiagonal(packed, q);
            factorInfo =
                activeset::lapack::orgqr(q, static_cast<activeset::Int>(std::min(m, n)), scalars);
        }
    }
    optimAssert(pivotInfo == 0, "Error calling DGEQP3 in NullSpaceAS::_getQRE");
    optimAssert(factorInfo == 0, "Error calling DORGQR in NullSpaceAS::_getQRE");
}
