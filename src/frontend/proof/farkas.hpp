// Multipliers by which constraints contradict one another, and the radius within which they do.
#ifndef ACTIVESET_SRC_FRONTEND_PROOF_FARKAS_HPP
#define ACTIVESET_SRC_FRONTEND_PROOF_FARKAS_HPP

#include "frontend/algebra/exact_products.hpp"
#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

/// The residual of Aᵀy + z that a proof may have, relative to the multipliers.
inline constexpr double FarkasTolerance = 1e-9;
/// The constraints of a problem where they lie: A is m × n, absent sides are infinite.
struct ConstraintsView {
    ColumnMajor A;
    const double* rowLower;
    const double* rowUpper;
    const double* lower;
    const double* upper;
};

/// Σ y⁺·rowUpper − … brought near −1 by a power of two, the residual of Aᵀy + z and the radius, of
/// the vectors that are returned. z is chosen: what bounds can take of −Aᵀy.
///
/// @param variable  the size of variables that the data tell
/// @param sums      room for n of them; scratch
[[nodiscard]] Farkas judgeFarkas(const ConstraintsView& problem,
                                 double variable,
                                 const SumsView& sums,
                                 Vector y);
[[nodiscard]] Farkas judgeFarkas(const ProblemData& data, Vector y);
[[nodiscard]] ConstraintsView constraintsOf(const ProblemData& data);
/// What sides add up to is clearly negative where it is by so much of its terms.
inline constexpr double ClearContradiction = 1e-9;

/// Whether sign·y, multipliers of all rows, seem to contradict rows and bounds, by doubles.
///
/// @param pulled    Aᵀy
/// @param rounding  its entries up to this count as zero
[[nodiscard]] bool seemToContradict(const ConstraintsView& problem,
                                    const double* y,
                                    const double* pulled,
                                    double sign = 1.0,
                                    double rounding = 0.0);
/// 1 or −1 where y or −y, by which rows combine to zero, seem to do so; else 0.
[[nodiscard]] int signOfContradiction(const ConstraintsView& problem,
                                      const double* y,
                                      const double* pulled);
/// Whether they prove it for all points up to far more than the size `variable`.
[[nodiscard]] bool holds(const Farkas& farkas, double tolerance, double variable = 1.0);
/// Whether they do so far enough for multipliers out of equations that may be nearly singular.
[[nodiscard]] bool holdsFar(const Farkas& farkas, double variable = 1.0);

}  // namespace activeset::frontend

#endif
