// Aw = Q·R follows a constraint that enters or leaves, by plane rotations. See Golub and Van Loan,
// Matrix Computations, on updating the QR factorisation.
//
// A rotation of rows i and i + 1 of R also turns columns i and i + 1 of Q, so that the product
// stays: R' = G·R, Q' = Q·Gᵀ with G = [c s; −s c].
#include <algorithm>
#include <cmath>

#include "activeset/null_space.hpp"
#include "activeset/sizes.hpp"
#include "host/rotations.hpp"
#include "matrix/views.hpp"
#include "nullspace/few_entries.hpp"
#include "nullspace/workspace.hpp"

using activeset::Block;
using Matrix = OPTMatrix<double>;

namespace {

// Q as the rotations walk through it, with n for the leading dimension.
Block squareFactor(Matrix& Q) {
    if (Q.getRows() != OPTsizes::getnVar() || Q.getCols() != OPTsizes::getnVar()) {
        activeset::raiseMatrixFault("Index exceed number of row.");
    }
    return activeset::viewOf(Q);
}

}  // namespace

// Clears entry (row + 1, pivotColumn) of R against entry (row, pivotColumn) and carries the
// rotation to the columns of R from pivotColumn + 1 to columns − 1 and to Q.
void NullSpaceAS::_rotateRowsAndQ(size_t row, size_t pivotColumn, size_t columns) {
    const size_t n = Q.getRows();
    double* upper = &QRwset(row, pivotColumn);
    double* lower = &QRwset(row + 1, pivotColumn);
    const auto rotation = activeset::blas::rotg(*upper, *lower);
    *upper = rotation.r;
    *lower = 0.0;
    if (columns > pivotColumn + 1) {
        const size_t stride = QRwset.getRows();
        activeset::blas::rot(columns - pivotColumn - 1, upper + stride, stride, lower + stride,
                             stride, rotation);
    }
    activeset::blas::rot(n, &Q(0, row), 1, &Q(0, row + 1), 1, rotation);
}

// Stores Qᵀa as the last column of R and clears it below the diagonal, bottom up. The rows that
// are turned are zero in the earlier columns, so only the new column, Q and the reduced Hessian
// change; and the rotations are known before Q is touched.
void NullSpaceAS::_QRinsertColumn(Matrix& a) {
    const size_t n = OPTsizes::getnVar();
    const size_t k = ActiveSet::getmaConstr();
    const Block q = squareFactor(Q);
    double* last = activeset::block(QRwset, k - 1, 1, n).data;
    activeset::multiplyTransposed(q, activeset::vectorOf(a, n), last);
    activeset::RotationSweep& sweep = _workspace().sweep;
    sweep.reserve(n);
    for (size_t i = n - 1; i >= k; --i) {
        const auto rotation = activeset::blas::rotg(last[i - 1], last[i]);
        last[i - 1] = rotation.r;
        last[i] = 0.0;
        sweep.append(rotation);
    }
    activeset::turnColumnsFromLast(q, sweep.count, sweep.cosines(), sweep.sines());
    _workspace().reducedHessian.followInsertion(sweep);
}

// The former last column moves into place j, where it reaches below the diagonal. A sweep from
// the bottom clears it down to the diagonal and leaves a subdiagonal in the columns to its right;
// a sweep from the top clears that.
void NullSpaceAS::_QRdeleteColumn(size_t j) {
    const size_t n = OPTsizes::getnVar();
    const size_t m = ActiveSet::getmaConstr();
    optimAssert(j <= m, "Constraint to be removed is not found in the active-set.");
    if (j == m) {
        _followDeletion();
        return;
    }
    // The former last column is still there: raises unless the factors have it.
    static_cast<void>(activeset::block(QRwset, 0, m + 1, n));
    static_cast<void>(squareFactor(Q));
    QRwset.copyColumn(j, m);
    for (size_t i = std::min(m, n - 1); i > j; --i) {
        _rotateRowsAndQ(i - 1, j, m);
    }
    for (size_t k = j + 1; k < m; ++k) {
        _rotateRowsAndQ(k, k, m);
    }
    _followDeletion();
}

// Column m of Q, the first behind the working set's, is now the first of Z.
void NullSpaceAS::_followDeletion() {
    activeset::ReducedHessian& reduced = _workspace().reducedHessian;
    if (!reduced.isCurrent()) {
        return;
    }
    QPobjective* quadratic = _quadraticObjective();
    if (quadratic == nullptr) {
        return;
    }
    const size_t n = OPTsizes::getnVar();
    const size_t m = ActiveSet::getmaConstr();
    reduced.followDeletion(activeset::block(quadratic->getHessian(), 0, n, n),
                           activeset::block(Q, m, n - m, n));
}

double NullSpaceAS::_planerot(double a, double b, Matrix& G) {
    const auto rotation = activeset::blas::rotg(a, b);
    G(0, 0) = rotation.c;
    G(0, 1) = rotation.s;
    G(1, 0) = -rotation.s;
    G(1, 1) = rotation.c;
    return rotation.r;
}
