// The Cholesky factor of a small triangle on the diagonal, and what it makes of the rows below.
// Included by files of kernels, see each_set.hpp.
#if defined(ACTIVESET_SRC_FRONTEND_ALGEBRA_OCTET_TRIANGLE_HPP) == defined(HWY_TARGET_TOGGLE)
#ifdef ACTIVESET_SRC_FRONTEND_ALGEBRA_OCTET_TRIANGLE_HPP
#undef ACTIVESET_SRC_FRONTEND_ALGEBRA_OCTET_TRIANGLE_HPP
#else
#define ACTIVESET_SRC_FRONTEND_ALGEBRA_OCTET_TRIANGLE_HPP
#endif

#include "frontend/algebra/octet.hpp"

HWY_BEFORE_NAMESPACE();
namespace activeset::frontend::HWY_NAMESPACE {
namespace {

/// sum − a·b
HWY_INLINE void takeFrom(Octet& sum, const Octet& a, Octet::Part b) {
    for (std::size_t k = 0; k < Octet::Parts; ++k) {
        sum.parts[k] = hn::NegMulAdd(a.parts[k], b, sum.parts[k]);
    }
}

/// Of a block of columns on the diagonal: L of LDLᵀ, so that no square root waits for another, and
/// 1/√D.
template <std::size_t Width>
struct Triangle {
    double below[Width][Width];
    double scale[Width];
};

/// @param a      columns of the block, from the one on the diagonal on; overwritten
/// @param top    the lane of the first row
/// @param least  what each pivot has to be above
/// False where one is not.
template <std::size_t Width>
HWY_INLINE bool factoriseTriangle(double (&a)[Width][OctetLanes],
                                  std::size_t top,
                                  const double (&least)[Width],
                                  Triangle<Width>& triangle) {
    bool isPositive = true;
    for (std::size_t c = 0; c < Width; ++c) {
        const double pivot = a[c][top + c];
        isPositive = isPositive && pivot > least[c];
        const double inverse = 1.0 / pivot;
        for (std::size_t r = c + 1; r < Width; ++r) {
            const double factor = a[c][top + r] * inverse;
            triangle.below[r][c] = factor;
            for (std::size_t s = r; s < Width; ++s) {
                a[r][top + s] -= a[c][top + s] * factor;
            }
        }
        triangle.scale[c] = 1.0 / hn::GetLane(hn::Sqrt(hn::Set(hn::CappedTag<double, 1>(), pivot)));
    }
    return isPositive;
}

/// Eight rows of the block, from their entries of LD to those of LD^(1/2).
template <std::size_t Width>
HWY_INLINE void finishRows(Octet (&columns)[Width], const Triangle<Width>& triangle) {
    for (std::size_t c = 0; c < Width; ++c) {
        for (std::size_t k = 0; k < c; ++k) {
            takeFrom(columns[c], columns[k], hn::Set(Octet::Tag(), triangle.below[c][k]));
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
