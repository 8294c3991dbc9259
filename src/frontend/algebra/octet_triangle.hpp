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

/// The same, the product rounded: what numbers of few digits cancel is zero then.
HWY_INLINE void takePlainly(Octet& sum, const Octet& a, Octet::Part b) {
    for (std::size_t k = 0; k < Octet::Parts; ++k) {
        sum.parts[k] = hn::Sub(sum.parts[k], hn::Mul(a.parts[k], b));
    }
}

/// Of a block of columns on the diagonal: L of LDLᵀ, so that no square root waits for another, and
/// 1/√D.
template <std::size_t Width>
struct Triangle {
    double factors[Width][OctetLanes];  ///< columns of L, from the lane of the block's first row on
    double scale[Width];
};

/// Factorises a block.
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
    Octet left[Width];
    for (std::size_t c = 0; c < Width; ++c) {
        left[c] = columns[c];
    }
    double column[OctetLanes + Width] = {};
    bool arePositive = true;
    for (std::size_t c = 0; c < Width; ++c) {
        store(left[c], column);
        const double pivot = column[top + c];
        arePositive = arePositive && pivot > least[c];
        store(productOf(load(column + top), octetOf(1.0 / pivot)), triangle.factors[c]);
        triangle.scale[c] = pivot;
        for (std::size_t r = c + 1; r < Width; ++r) {
            takePlainly(left[r], left[c], hn::Set(Octet::Tag(), triangle.factors[c][r]));
        }
    }
    Lanes<Width> pivots = load<Width>(triangle.scale);
    for (auto& part : pivots.parts) {
        part = hn::Div(hn::Set(typename Lanes<Width>::Tag(), 1.0), hn::Sqrt(part));
    }
    store(pivots, triangle.scale);
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
