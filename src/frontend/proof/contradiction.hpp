// Whether sides contradict one another in truth, or only to the digits of doubles.
#ifndef ACTIVESET_SRC_FRONTEND_PROOF_CONTRADICTION_HPP
#define ACTIVESET_SRC_FRONTEND_PROOF_CONTRADICTION_HPP

#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

/// Whether the sides weighed by multipliers near y leave no point with Σ|x_j| below `reach`, even
/// if each side of a row gives way by `margin`. The multipliers are refined to twice the digits of
/// doubles: rows that cancel only in doubles still leave points farther out. Such rows count as
/// contradicting one another, too, if they cancel but for the rounding of their entries, and these
/// look rounded: they have all the digits of doubles.
///
/// @param y  m multipliers; one whose side is absent counts as 0
[[nodiscard]] bool doContradict(const ProblemData& data,
                                Vector y,
                                double reach,
                                double margin = 0.0);

}  // namespace activeset::frontend

#endif
