// Least squares with linear constraints, by factors of the matrix of the fit, never of its square.
//
//     minimise ½(R·x − s)ᵀW(R·x − s)
//     subject to  rowLower ≤ A·x ≤ rowUpper,  lower ≤ x ≤ upper
//
// Where no constraint is active the answer is as exact as that of an orthogonal factorisation of R.
#ifndef ACTIVESET_LEAST_SQUARES_HPP
#define ACTIVESET_LEAST_SQUARES_HPP

#include "activeset/qp.hpp"

namespace activeset {

/// The data of one fit, all of it the caller's. n is the number of columns of R, k that of its
/// rows; both may be 0. Other parts that are empty are absent, as in Problem.
struct LeastSquares {
    MatrixView R{};         ///< k × n
    VectorView s{};         ///< k
    VectorView weights{};   ///< k, at least 0: the diagonal of W
    MatrixView W{};         ///< k × k, symmetric, positive definite; instead of weights
    MatrixView A{};         ///< m × n
    VectorView rowLower{};  ///< m
    VectorView rowUpper{};  ///< m
    VectorView lower{};     ///< n
    VectorView upper{};     ///< n
};

/// Solves one fit. Its result is read as that of a problem with H = RᵀWR, c = −RᵀWs and the
/// constant ½sᵀWs; the certificate is formed from R and s, weighted where there are weights. Where
/// the solution is not unique it is one that the start leads to, not the shortest.
///
/// The settings hold as for `solve`, with two limits that are per part: `maxIterations` is that of
/// the start, which the square gives, and that of the steps with orthogonal factors.
///
/// @raises as solve
[[nodiscard]] ACTIVESET_API Result solveLeastSquares(const LeastSquares& problem,
                                                     const Settings& settings = {});

}  // namespace activeset

#endif
