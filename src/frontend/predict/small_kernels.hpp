// The loops of the small road, for the instruction set of the processor. All matrices are stored by
// columns, aligned to 64 bytes, the leading dimension a multiple of eight and what lies between the
// last row and it zero. So no loop has a tail.
#ifndef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_KERNELS_HPP
#define ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_KERNELS_HPP

#include <cstddef>

#include "frontend/algebra/instruction_set.hpp"
#include "frontend/algebra/triangle.hpp"

namespace activeset::frontend {

/// The most columns that a matrix has.
inline constexpr std::size_t MostSmallColumns = 256;

/// rows × cols; rows is a multiple of eight.
struct SmallMatrix {
    const double* data = nullptr;
    std::size_t rows = 0;
    std::size_t cols = 0;
    std::size_t leading = 0;
    /// From this row on the matrix is upper triangular: row `triangle + k` begins in column k.
    std::size_t triangle = 0;
};

/// Four columns of L on the diagonal.
using SmallTriangle = Triangle<4>;

/// [H; A; cᵀ] and what takes its place beside [I]: [L; A·L⁻ᵀ; (L⁻¹c)ᵀ; L⁻ᵀ].
struct SmallStack {
    const double* data = nullptr;
    double* images = nullptr;
    SmallTriangle* triangles = nullptr;  ///< one for each four columns
    std::size_t head = 0;                ///< rows of H, and of I
    std::size_t rows = 0;                ///< rows of A and c
    std::size_t cols = 0;                ///< a multiple of four
    std::size_t waiting = 0;             ///< the first rows of A whose images may be formed later
};

/// A constraint and by how much it is violated, in proportion to the norm of its image.
struct SmallViolation {
    double amount;
    std::size_t index;
};

/// Σ a_i·b_i as value + rest, and Σ |a_i·b_i|; arrays.
struct SmallSums {
    double* value = nullptr;
    double* rest = nullptr;
    double* scale = nullptr;
};

struct SmallSum {
    double value;
    double rest;
    double scale;
};

/// Where sides are copied to: as they are, and with what rounding may take from them.
struct SmallSides {
    double* lower;
    double* upper;
    double* lowest;
    double* highest;
};

struct SmallSideLimits {
    double absent;    ///< sides of this magnitude are
    double infinity;  ///< what stands for them
    double rounding;  ///< what it may take, in proportion
};

struct SmallSideExtent {
    double largest;     ///< magnitude of a side that is there
    std::size_t equal;  ///< pairs
    bool isSound;       ///< no NaN, none crosses another or is absent on the wrong side
};

/// The terms of H·x + c + Aᵀy + z, and where x lies.
struct SmallGradient {
    SmallSums product;
    SmallSums pull;
    const double* c = nullptr;
    const double* z = nullptr;
    const double* x = nullptr;
    const double* lower = nullptr;
    const double* upper = nullptr;
};

/// What entries of the gradient are measured by.
struct SmallGradientUnits {
    double rounding;          ///< of an entry, in proportion to its terms
    double roundingOfOthers;  ///< in proportion to those of others
    double evaluation;        ///< what sums may miss, in proportion to their terms
    double floor;             ///< the terms of others
    double gradient;          ///< least size of an entry that is rounding
    double variable;          ///< least size of a variable
    double farthest;          ///< variable from zero
    double infinity;
};

struct SmallGradientProof {
    double absolute;  ///< largest entry
    double relative;
    double weight;  ///< of the entries in the objective
    double rest;    ///< Σ x_j times what the value of H·x leaves out
    bool isSound;   ///< all are numbers
};

/// What a vector g has in common with the members of a factor, and what is left of it.
struct SmallShares {
    double* r;  ///< Qᵀg
    double* u;  ///< g − Q·r
    double* p;  ///< T·r
};

struct SmallBox {
    const double* lower;
    const double* upper;
};

struct SmallStep {
    double length;  ///< its largest entry
    double size;    ///< that of the point
};

struct SmallKernels {
    /// Copies rows × cols numbers, columns `leading` apart, to columns `distance` apart, which are
    /// filled with zeros up to `padded`. The largest magnitude, or NaN where one is not finite.
    double (*copy)(const double* from,
                   std::size_t leading,
                   std::size_t rows,
                   std::size_t cols,
                   double* to,
                   std::size_t distance,
                   std::size_t padded);
    /// Whether a(i, j) = a(j, i) in the first `count` rows and columns, a multiple of four.
    bool (*isSymmetric)(const double* a, std::size_t count, std::size_t leading);
    /// Copies `count` sides, null for none, and fills with absent ones up to `padded`.
    SmallSideExtent (*copySides)(const double* lower,
                                 const double* upper,
                                 std::size_t count,
                                 std::size_t padded,
                                 const SmallSideLimits& limits,
                                 const SmallSides& to);
    /// Cholesky, H = LLᵀ, and with it the images. False where a pivot is not above `tolerance`
    /// times the diagonal entry.
    bool (*factorise)(const SmallStack& stack, double tolerance);
    /// The images of the rows that wait, with the bits that they would have had at once.
    void (*formWaiting)(const SmallStack& stack);
    /// y_i := 1/‖row i‖, 0 where that is not above `smallest`.
    void (*inverseNorms)(const SmallMatrix& a, double smallest, double* y);
    /// y := A·x + b; without b, A·x.
    void (*multiplyAdd)(const SmallMatrix& a, const double* x, const double* b, double* y);
    /// y := y + A·x where many entries of x are zero.
    void (*addColumns)(const SmallMatrix& a, const double* x, double* y);
    /// y := Aᵀx, cols entries.
    void (*multiplyTransposed)(const SmallMatrix& a, const double* x, double* y);
    /// Of g, its length 1, for Q with orthonormal columns. The square of ‖u‖.
    double (*project)(const SmallMatrix& Q,
                      const SmallMatrix& T,
                      const double* g,
                      const SmallShares& to);
    /// One sweep that minimises ½xᵀHx + cᵀx over one variable after the other, between its bounds;
    /// `count` of them. g = H·x + c moves with x. `inverse` is that of the diagonal of H.
    void (*descend)(const SmallMatrix& H,
                    const SmallBox& box,
                    const double* inverse,
                    std::size_t count,
                    double* x,
                    double* g);
    /// x := L⁻¹x and x := L⁻ᵀx for a lower triangle of `count` columns, a multiple of eight. What
    /// is above its diagonal is not read.
    void (*solveLower)(const double* L, std::size_t count, std::size_t leading, double* x);
    void (*solveLowerTransposed)(const double* L,
                                 std::size_t count,
                                 std::size_t leading,
                                 double* x);
    double (*dot)(const double* x, const double* y, std::size_t count);
    /// y := y + alpha·x.
    void (*addScaled)(double alpha, const double* x, double* y, std::size_t count);
    /// y_j := factor·A(row, j), first ≤ j < count; 0 behind the last column.
    void (*gather)(double factor,
                   const SmallMatrix& a,
                   std::size_t row,
                   std::size_t first,
                   std::size_t count,
                   double* y);
    /// y := y + Σ factor_k·(row member_k of A), over `size` members that are rows of it.
    void (*addRows)(const SmallMatrix& a,
                    const double* member,
                    const double* factor,
                    std::size_t size,
                    std::size_t count,
                    double* y);
    /// values := A·z and the constraint that is farthest beyond its sides, times `weight`.
    SmallViolation (*price)(const SmallMatrix& a,
                            const double* z,
                            const double* lower,
                            const double* upper,
                            const double* weight,
                            double* values);
    /// (x, y) := (c·x − s·y, s·x + c·y).
    void (*rotate)(double c, double s, double* x, double* y, std::size_t count);
    /// sums := A·x in twice the precision.
    void (*exactProduct)(const SmallMatrix& a, const double* x, const SmallSums& sums);
    /// Σ x_i·y_i in twice the precision.
    SmallSum (*exactDot)(const double* x, const double* y, std::size_t count);
    /// Σ y_i·side_i, the upper side for a positive y_i and the lower one for a negative.
    SmallSum (*exactSides)(const double* y,
                           const double* lower,
                           const double* upper,
                           std::size_t count);
    /// y := −(H·x + c + Aᵀy + z).
    void (*negativeGradient)(const SmallGradient& gradient, std::size_t count, double* y);
    /// The largest |x_i|; all are numbers.
    double (*largest)(const double* x, std::size_t count);
    /// step := x − from.
    SmallStep (*moved)(const double* x, double* step, const double* from, std::size_t count);
    /// miss_i := by how much value_i + rest_i, null for none, is beyond the side that it is
    /// farthest beyond, negative within both. Whether one is not within, or no number.
    bool (*misses)(const double* value,
                   const double* rest,
                   const double* lower,
                   const double* upper,
                   std::size_t count,
                   double* miss);
    SmallGradientProof (*weighGradient)(const SmallGradient& gradient,
                                        const SmallGradientUnits& units,
                                        std::size_t count);
};

[[nodiscard]] SmallKernels smallKernels(InstructionSet set);

/// The kernels for this processor.
[[nodiscard]] const SmallKernels& smallKernels();

}  // namespace activeset::frontend

#endif
