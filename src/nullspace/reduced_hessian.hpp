// The Cholesky factor of the reduced Hessian, kept from pass to pass.
#ifndef ACTIVESET_SRC_NULLSPACE_REDUCED_HESSIAN_HPP
#define ACTIVESET_SRC_NULLSPACE_REDUCED_HESSIAN_HPP

#include <cstddef>

#include "activeset/matrix.hpp"
#include "host/blas.hpp"

namespace activeset {

/// The rotations of one insertion sweep, in the order in which they were made.
class RotationSweep {
public:
    size_t count = 0;

    void reserve(size_t n);
    void append(const blas::Rotation& rotation);
    [[nodiscard]] const double* cosines() const noexcept { return pairs_.getData(); }
    [[nodiscard]] const double* sines() const noexcept { return cosines() + pairs_.getRows(); }

private:
    OPTMatrix<double> pairs_;  // n × 2
};

/// M̂ = ẐᵀHẐ = L·Lᵀ, where Ẑ are the columns of the null-space basis Z in reversed order.
///
/// Z is the trailing part of Q. A constraint that enters turns neighbouring columns of Z from the
/// last to the first and then takes the first away, one that leaves gives Z a column in front. In
/// reversed order both happen at the far end of L, so that either costs O(n²):
///
/// - entering: L gets the rotations as rotations of its rows, which fills its superdiagonal; a
///   sweep of column rotations clears that, and the last row and column are dropped;
/// - leaving: one row is appended, from L·u = ẐᵀH·z and the diagonal ρ² = zᵀHz − uᵀu.
///
/// See Gill, Golub, Murray and Saunders, Methods for modifying matrix factorizations, Mathematics
/// of Computation 28 (1974). Whether M̂ is positive definite is never decided here but by LAPACK on
/// a matrix formed afresh: whenever an update is in doubt the factor ceases to be current.
class ReducedHessian {
public:
    [[nodiscard]] bool isCurrent() const noexcept { return isCurrent_; }
    void invalidate() noexcept { isCurrent_ = false; }
    /// The order of M̂.
    [[nodiscard]] size_t order() const noexcept { return order_; }

    /// Forms ZᵀHZ for symmetric H, has LAPACK factorise it, and on success (0) solves
    /// ZᵀHZ·u = b in place (b in the order of Z's columns) and prepares the factor that the
    /// updates work on. Returns LAPACK's info; positive: not positive definite, b untouched.
    Int formAndSolve(ConstBlock H, ConstBlock Z, double* b);
    /// The same solve with the current factor, without forming anything.
    void solve(double* b);

    /// A constraint has entered: the sweep that was applied to the columns of Z, last pair first.
    void followInsertion(const RotationSweep& sweep);
    /// A constraint has left: Z is the new basis, its first column the new one.
    void followDeletion(ConstBlock H, ConstBlock Z);

    /// The largest diagonal entry that M̂ is known to have had; an estimate of its size.
    [[nodiscard]] double scale() const noexcept { return scale_; }

private:
    void reserve(size_t n);
    [[nodiscard]] Block natural();
    [[nodiscard]] Block lower();
    void turnRows(const RotationSweep& sweep);
    void clearSuperdiagonal();
    [[nodiscard]] bool isSafe(double squaredPivot) const;

    // One array holds two triangles, (n + 1) × n: ZᵀHZ and its factor on and above the diagonal,
    // L, one row lower, below it. While L is being updated its superdiagonal uses the former's
    // diagonal.
    OPTMatrix<double> triangles_;
    OPTMatrix<double> column_;  // n × 1
    OPTMatrix<double> panel_;   // some rows of ZᵀH
    size_t order_ = 0;
    size_t updates_ = 0;
    double scale_ = 0.0;
    bool isCurrent_ = false;
};

}  // namespace activeset

#endif
