// The loops of the small road, for the instruction set of the processor. All matrices are stored by
// columns, aligned to 64 bytes, the leading dimension a multiple of eight and what lies between the
// last row and it zero. So no loop has a tail.
#ifndef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_KERNELS_HPP
#define ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_KERNELS_HPP

#include <cstddef>

#include "frontend/algebra/instruction_set.hpp"

namespace activeset::frontend {

/// rows × cols; rows is a multiple of eight.
struct SmallMatrix {
    const double* data = nullptr;
    std::size_t rows = 0;
    std::size_t cols = 0;
    std::size_t leading = 0;
    /// From this row on the matrix is upper triangular: row `triangle + k` begins in column k.
    std::size_t triangle = 0;
};

/// [H; A; cᵀ] and what takes its place beside [I]: [L; A·L⁻ᵀ; (L⁻¹c)ᵀ; L⁻ᵀ].
struct SmallStack {
    const double* data = nullptr;
    double* images = nullptr;
    std::size_t head = 0;  ///< rows of H, and of I
    std::size_t rows = 0;  ///< rows of A and c
    std::size_t cols = 0;  ///< a multiple of four
};

/// A constraint and by how much it is violated, in proportion to the norm of its image.
struct SmallViolation {
    double amount = 0.0;
    std::size_t index = 0;
};

/// Σ a_i·b_i as value + rest, and Σ |a_i·b_i|; arrays.
struct SmallSums {
    double* value = nullptr;
    double* rest = nullptr;
    double* scale = nullptr;
};

struct SmallSum {
    double value = 0.0;
    double rest = 0.0;
    double scale = 0.0;
};

struct SmallKernels {
    /// Copies `count` numbers and fills with zeros up to `padded`. The largest magnitude, or NaN
    /// where one is not finite.
    double (*copy)(const double* from, std::size_t count, double* to, std::size_t padded);
    /// Cholesky, H = LLᵀ, and with it the images. False where a pivot is not above `tolerance`
    /// times the diagonal entry.
    bool (*factorise)(const SmallStack& stack, double tolerance);
    /// y_i := Σ_j A_ij², i < rows.
    void (*squaredNorms)(const SmallMatrix& a, double* y);
    /// y := A·x + b; without b, A·x.
    void (*multiplyAdd)(const SmallMatrix& a, const double* x, const double* b, double* y);
    /// y := Aᵀx, cols entries.
    void (*multiplyTransposed)(const SmallMatrix& a, const double* x, double* y);
    double (*dot)(const double* x, const double* y, std::size_t count);
    /// y := y + alpha·x.
    void (*addScaled)(double alpha, const double* x, double* y, std::size_t count);
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
    /// sums += alpha·x in twice the precision.
    void (*exactAddScaled)(double alpha, const double* x, const SmallSums& sums, std::size_t count);
    /// Σ x_i·y_i in twice the precision.
    SmallSum (*exactDot)(const double* x, const double* y, std::size_t count);
};

/// Parts of the table, each from a file of its own.
void chooseImages(InstructionSet set, SmallKernels& kernels);
void chooseProducts(InstructionSet set, SmallKernels& kernels);
void chooseExactSums(InstructionSet set, SmallKernels& kernels);
[[nodiscard]] SmallKernels smallKernels(InstructionSet set);

/// The kernels for this processor.
[[nodiscard]] const SmallKernels& smallKernels();

}  // namespace activeset::frontend

#endif
