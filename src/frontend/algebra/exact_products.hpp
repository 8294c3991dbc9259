// Products of matrices and vectors in double-double arithmetic, with the sums of the magnitudes of
// their terms.
#ifndef ACTIVESET_SRC_FRONTEND_ALGEBRA_EXACT_PRODUCTS_HPP
#define ACTIVESET_SRC_FRONTEND_ALGEBRA_EXACT_PRODUCTS_HPP

#include <cstddef>

#include "frontend/algebra/instruction_set.hpp"

namespace activeset::frontend {

/// An m × n matrix, column-major: entry (i, j) is at data[i + j·ld].
struct ColumnMajor {
    const double* data;
    std::size_t rows;
    std::size_t cols;
    std::size_t ld;
};

/// Where sums are written to: sum k is value[k] + rest[k], the rest at most half a unit in the last
/// place of the value, and scale[k] the sum of the magnitudes of its terms.
struct SumsView {
    double* value;
    double* rest;
    double* scale;
};

/// a·x, a.rows sums, and aᵀ·y, a.cols sums. Terms with a zero entry of x or y are left out. For a
/// symmetric matrix both give the same; the first is faster. No memory is allocated; the views must
/// not overlap the operands. All instruction sets with FMA give the same bits, and so does the
/// baseline where no term is beyond 2^±900. A sum of k terms is wrong by at most
/// boundOfRounding(k, scale). Overflow shows as NaN or infinity in the scale.
void exactProduct(const ColumnMajor& a, const double* x, const SumsView& sums);
void exactTransposedProduct(const ColumnMajor& a, const double* y, const SumsView& sums);

/// A bound for the error of a sum of `terms` products; docs/method.md derives it.
[[nodiscard]] constexpr double boundOfRounding(std::size_t terms, double scale) {
    constexpr double UnitRoundoffSquared = 1.25e-32;  // of rounding, 2⁻¹⁰⁶, and a little more
    constexpr double SmallestDouble = 4.9406564584124654e-324;
    const auto count = static_cast<double>(terms + 1);
    return UnitRoundoffSquared * count * count * scale + count * SmallestDouble;
}

/// The kernels for one instruction set, which the processor must have. They return false where a
/// sum has to be formed anew with a wider exponent.
struct ExactProducts {
    using Kernel = bool(const ColumnMajor& a, const double* x, const SumsView& sums);
    Kernel* product;
    Kernel* transposed;
};
[[nodiscard]] ExactProducts exactProducts(InstructionSet set);

}  // namespace activeset::frontend

#endif
