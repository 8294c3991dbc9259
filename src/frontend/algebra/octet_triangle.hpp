// The Cholesky factor of a small triangle on the diagonal, and what it makes of the rows below.
// Included by files of kernels, see each_set.hpp.
#if defined(ACTIVESET_SRC_FRONTEND_ALGEBRA_OCTET_TRIANGLE_HPP) == defined(HWY_TARGET_TOGGLE)
#ifdef ACTIVESET_SRC_FRONTEND_ALGEBRA_OCTET_TRIANGLE_HPP
#undef ACTIVESET_SRC_FRONTEND_ALGEBRA_OCTET_TRIANGLE_HPP
#else
#define ACTIVESET_SRC_FRONTEND_ALGEBRA_OCTET_TRIANGLE_HPP
#endif

#include "frontend/algebra/octet.hpp"
#include "frontend/algebra/triangle.hpp"

HWY_BEFORE_NAMESPACE();
namespace activeset::frontend::HWY_NAMESPACE {
namespace {

/// sum − a·b
HWY_INLINE void takeFrom(Octet& sum, const Octet& a, Octet::Part b) {
    for (std::size_t k = 0; k < Octet::Parts; ++k) {
        sum.parts[k] = hn::NegMulAdd(a.parts[k], b, sum.parts[k]);
    }
}

HWY_INLINE double rootOf(double value) {
    const hn::CappedTag<double, 1> one;
    return hn::GetLane(hn::Sqrt(hn::Set(one, value)));
}

/// Factorises a block, number by number, in registers: each pivot waits for the one before it.
///
/// @param columns  the eight rows on the diagonal that hold the block
/// @param top      the lane of its first row
/// @param least    what each pivot has to be above
/// False where one is not.
template <std::size_t Width>
HWY_INLINE bool factoriseTriangle(const Octet (&columns)[Width],
                                  std::size_t top,
                                  const double (&least)[Width],
                                  Triangle<Width>& triangle) {
    double left[Width][OctetLanes];
    for (std::size_t c = 0; c < Width; ++c) {
        store(columns[c], left[c]);
    }
    bool arePositive = true;
    HWY_UNROLL(8)
    for (std::size_t c = 0; c < Width; ++c) {
        const double* const column = left[c] + top;
        double* const factors = triangle.factors[c];
        const double pivot = column[c];
        arePositive &= pivot > least[c];
        triangle.scale[c] = pivot;
        const double inverse = 1.0 / pivot;
        HWY_UNROLL(8)
        for (std::size_t r = c + 1; r < Width; ++r) {
            factors[r] = column[r] * inverse;
            HWY_UNROLL(8)
            for (std::size_t i = r; i < Width; ++i) {
                // Not fused: what numbers of few digits cancel is zero.
                left[r][top + i] -= column[i] * factors[r];
            }
        }
    }
    for (double& scale : triangle.scale) {
        scale = 1.0 / rootOf(scale);
    }
    return arePositive;
}

/// Eight rows of the block or below it, to those of L·√D.
template <std::size_t Width>
HWY_INLINE void finishRows(Octet (&columns)[Width], const Triangle<Width>& triangle) {
    for (std::size_t c = 0; c < Width; ++c) {
        for (std::size_t k = 0; k < c; ++k) {
            takeFrom(columns[c], columns[k], hn::Set(Octet::Tag(), triangle.factors[k][c]));
        }
    }
    for (std::size_t c = 0; c < Width; ++c) {
        columns[c] = productOf(columns[c], octetOf(triangle.scale[c]));
    }
}

}  // namespace
}  // namespace activeset::frontend::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
