// BLAS as the library uses it: column-major views, 64-bit integers, private symbol names.
#ifndef ACTIVESET_SRC_HOST_BLAS_HPP
#define ACTIVESET_SRC_HOST_BLAS_HPP

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace activeset {

/// The integer of the BLAS and LAPACK interfaces.
using Int = std::int64_t;

/// rows × cols doubles, element (i, j) at data[j·ld + i]; ld is at least 1, as LAPACK demands.
template <class T>
struct BasicBlock {
    T* data = nullptr;
    Int rows = 0;
    Int cols = 0;
    Int ld = 1;

    BasicBlock() = default;
    BasicBlock(T* values, size_t rowCount, size_t columnCount)
        : BasicBlock(values, rowCount, columnCount, rowCount) {}
    BasicBlock(T* values, size_t rowCount, size_t columnCount, size_t leading)
        : data(values),
          rows(static_cast<Int>(rowCount)),
          cols(static_cast<Int>(columnCount)),
          ld(static_cast<Int>(std::max<size_t>(leading, 1))) {}

    [[nodiscard]] bool isEmpty() const noexcept { return rows == 0 || cols == 0; }
    // A view of mutable elements serves where constant ones are read.
    // NOLINTNEXTLINE(google-explicit-constructor,hicpp-explicit-conversions)
    operator BasicBlock<const T>() const noexcept {
        BasicBlock<const T> view;
        view.data = data;
        view.rows = rows;
        view.cols = cols;
        view.ld = ld;
        return view;
    }
};

using Block = BasicBlock<double>;
using ConstBlock = BasicBlock<const double>;

enum class Op : char { None = 'N', Transpose = 'T' };

namespace blas {

/// y := alpha·op(a)·x + beta·y; with beta = 0 what y held before does not matter.
void gemv(Op op, double alpha, ConstBlock a, const double* x, double beta, double* y);
/// c := alpha·op(a)·op(b) + beta·c.
void gemm(Op opA, Op opB, double alpha, ConstBlock a, ConstBlock b, double beta, Block c);

/// c := aᵀ·a, both halves; a has as many columns as c.
void gram(ConstBlock a, Block c);

/// c −= aᵀ·a, its upper half alone; a has as many columns as c.
void subtractGram(ConstBlock a, Block c);

/// x := op(r)⁻¹·x, r upper triangular and square.
void trsvUpper(Op op, ConstBlock r, double* x);
/// x := op(l)⁻¹·x, l lower triangular and square.
void trsvLower(Op op, ConstBlock l, double* x);

/// A plane rotation [c s; −s c] that turns (a, b) into (r, 0).
struct Rotation {
    double c;
    double s;
    double r;
};

/// The rotation for a pair; r has the sign of the larger one, c = 1 and s = 0 for two zeros. A pair
/// outside [2⁻⁴⁰⁰, 2⁴⁰⁰] is scaled by a power of two first, which changes neither c nor s.
[[nodiscard]] Rotation rotg(double a, double b);
/// Replaces each pair (x_i, y_i) by (c·x_i + s·y_i, c·y_i − s·x_i).
void rot(size_t n, double* x, size_t strideX, double* y, size_t strideY, const Rotation& rotation);

}  // namespace blas

}  // namespace activeset

#endif
