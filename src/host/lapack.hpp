// The LAPACK routines that the library calls. Each returns LAPACK's info; the caller
// judges it. Workspaces come from the host and are back with it before info is returned.
#ifndef ACTIVESET_SRC_HOST_LAPACK_HPP
#define ACTIVESET_SRC_HOST_LAPACK_HPP

#include "host/blas.hpp"

namespace activeset::lapack {

/// a := packed Householder QR of a; tau: min(rows, cols).
Int geqrf(Block a, double* tau);
/// a (m × m) := the full orthogonal factor from its first k packed columns.
Int orgqr(Block a, Int k, const double* tau);
/// a := packed QR with column pivoting, a·P = Q·R. jpvt (cols entries): non-zero moves the column
/// to the front on entry; 1-based permutation on exit.
Int geqp3(Block a, Int* jpvt, double* tau);
/// a := upper Cholesky factor; info > 0: the leading minor of that order is not positive.
Int potrf(Block a);
/// a := lower Cholesky factor, from and into its lower triangle; info as potrf.
Int potrfLower(Block a);
/// b := a⁻¹·b from potrf's factor.
Int potrs(ConstBlock a, Block b);
/// b := r⁻¹·b, r upper triangular; info > 0: that diagonal entry is zero.
Int trtrs(ConstBlock r, Block b);
/// b := r⁻ᵀ·b, likewise.
Int trtrsTransposed(ConstBlock r, Block b);
/// b := l⁻¹·b and b := l⁻ᵀ·b, l lower triangular, likewise.
Int trtrsLower(ConstBlock l, Block b);
Int trtrsLowerTransposed(ConstBlock l, Block b);
/// b := op(Q)·b, Q from the packed columns of a and their scalars.
Int ormqr(Op op, ConstBlock a, const double* tau, Block b);
/// a := lower Cholesky factor with pivoting on the diagonal, PᵀaP = L·Lᵀ, from and into its lower
/// triangle, as far as pivots are greater than `tolerance`: `rank` columns, complete down to the
/// last row. jpvt (order entries): 1-based permutation. info > 0: the rank is not full.
Int pstrf(Block a, Int* jpvt, Int* rank, double tolerance);
/// Minimum-norm solutions of aᵀ·x = b for each column of b (max(rows, cols) rows); a is destroyed.
Int gelsTransposed(Block a, Block b);

}  // namespace activeset::lapack

#endif
