// Some columns of a Cholesky factor, on the diagonal.
#ifndef ACTIVESET_SRC_FRONTEND_ALGEBRA_TRIANGLE_HPP
#define ACTIVESET_SRC_FRONTEND_ALGEBRA_TRIANGLE_HPP

#include <cstddef>

namespace activeset::frontend {

/// Of a block of columns on the diagonal: L of LDLᵀ, so that no square root waits for another, and
/// 1/√D.
template <std::size_t Width>
struct Triangle {
    double factors[Width][Width];  ///< columns of L, below the diagonal
    double scale[Width];
};

}  // namespace activeset::frontend

#endif
