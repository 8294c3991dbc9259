// Proofs that a problem has no solution: Farkas vectors and rays.
#ifndef ACTIVESET_SRC_FRONTEND_PROOFS_HPP
#define ACTIVESET_SRC_FRONTEND_PROOFS_HPP

#include "frontend/engine.hpp"

namespace activeset::frontend {

/// Whether scaled multipliers of rows, with what bounds can take, prove that there is no feasible
/// point; the answer has them then.
[[nodiscard]] bool provesInfeasibility(const Prepared& problem, Vector y, Answer& answer);

/// Whether a scaled direction proves that the problem is unbounded; the answer has it then.
[[nodiscard]] bool provesUnboundedness(const Prepared& problem,
                                       const Vector& direction,
                                       Answer& answer);

/// Whether a problem without variables is infeasible, with the proof: each row is 0.
void decideBySides(const Prepared& problem, Answer& answer);

}  // namespace activeset::frontend

#endif
