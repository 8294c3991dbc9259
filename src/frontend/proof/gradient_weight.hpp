// What the residuals of a gradient make of the objective.
#ifndef ACTIVESET_SRC_FRONTEND_PROOF_GRADIENT_WEIGHT_HPP
#define ACTIVESET_SRC_FRONTEND_PROOF_GRADIENT_WEIGHT_HPP

#include <limits>

#include "frontend/problem/extended_sums.hpp"
#include "frontend/problem/problem_data.hpp"
#include "frontend/proof/units.hpp"

namespace activeset::frontend {

/// What the entries of the gradient may miss because x and y are rounded: this much of the sizes of
/// their terms.
inline constexpr double GradientRounding = 4.0 * std::numeric_limits<double>::epsilon();

/// By how much the objective may be in error because entries of the gradient are not zero.
///
/// @param residuals  the entries that are left with the multipliers of `point`, n of them
[[nodiscard]] double weightOf(const ProblemData& data,
                              const std::vector<Sum>& residuals,
                              const Point& point,
                              const Units& units);

/// The same, of what is left of them where x and y are taken to more digits: they are in error by
/// no more than the curvature makes of the digits.
[[nodiscard]] double weightBehind(const ProblemData& data,
                                  std::vector<Sum> residuals,
                                  const Point& point,
                                  const Point& digits,
                                  const Units& units);

/// The size of what the weight is summed from.
[[nodiscard]] double termsOf(const std::vector<Sum>& residuals,
                             const Vector& x,
                             const Units& units);

}  // namespace activeset::frontend

#endif
