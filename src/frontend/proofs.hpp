// Proofs that a problem has no solution: directions of negative curvature, Farkas vectors, rays.
#ifndef ACTIVESET_SRC_FRONTEND_PROOFS_HPP
#define ACTIVESET_SRC_FRONTEND_PROOFS_HPP

#include "frontend/engine.hpp"

namespace activeset::frontend {

[[nodiscard]] Convexity convexityOf(Prepared& problem);

/// Whether scaled multipliers, made to fit by what bounds can take, prove that there is no feasible
/// point; the answer has them then.
[[nodiscard]] bool provesInfeasibility(const Prepared& problem, Vector y, Vector z, Answer& answer);

/// Whether a scaled direction proves that the problem is unbounded; the answer has it then.
[[nodiscard]] bool provesUnboundedness(const Prepared& problem,
                                       const Vector& direction,
                                       Answer& answer);

/// The problem without the equalities that depend on others, to a tolerance more generous than
/// that of the core. Whether they agree with the others is left to the certificate.
[[nodiscard]] Data withoutDependentEqualities(const Data& data);

}  // namespace activeset::frontend

#endif
