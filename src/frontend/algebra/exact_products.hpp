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

/// a·x, a.rows sums, and aᵀ·y, a.cols sums; terms with a zero entry of x or y are left out. A
/// symmetric matrix has the two products in common; the first is faster. No memory is allocated;
/// the views must not overlap what is read. The bits are the same for every instruction set with
/// FMA, and for the baseline where no term is beyond 2^±900. An error of a sum of k terms is at
/// most boundOfRounding(k, scale). What overflows shows as NaN or infinity in the scale.
void exactProduct(const ColumnMajor& a, const double* x, const SumsView& sums);
void exactTransposedProduct(const ColumnMajor& a, const double* y, const SumsView& sums);

/// By how much a sum of so many products may differ from the exact one; docs/method.md derives it.
[[nodiscard]] constexpr double boundOfRounding(std::size_t terms, double scale) {
    constexpr double UnitRoundoffSquared = 1.25e-32;  // of rounding, 2⁻¹⁰⁶, and a little more
    constexpr double SmallestDouble = 4.9406564584124654e-324;
    const auto count = static_cast<double>(terms + 1);
    return UnitRoundoffSquared * count * count * scale + count * SmallestDouble;
}

/// The functions that do it with an instruction set that the processor has. They return false where
/// a sum has to be formed anew in a wider range.
struct ExactProducts {
    using Kernel = bool(const ColumnMajor& a, const double* x, const SumsView& sums);
    Kernel* product;
    Kernel* transposed;
};
[[nodiscard]] ExactProducts exactProducts(InstructionSet set);

}  // namespace activeset::frontend

#endif
