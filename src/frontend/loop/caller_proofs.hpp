// Turns claims in scaled variables into proofs by the caller's data, or drops them.
#ifndef ACTIVESET_SRC_FRONTEND_LOOP_CALLER_PROOFS_HPP
#define ACTIVESET_SRC_FRONTEND_LOOP_CALLER_PROOFS_HPP

#include <optional>

#include "frontend/loop/best_point.hpp"

namespace activeset::frontend {

/// The Farkas vector that scaled multipliers of rows give, with what bounds can take, if it proves
/// that there is no feasible point. A best point that is feasible must be outside its radius.
[[nodiscard]] std::optional<Farkas> provenFarkas(const ProblemCache& problem,
                                                 Vector y,
                                                 const BestPoint& best);

/// The same for multipliers from equations that may be nearly singular: the radius must be larger.
[[nodiscard]] std::optional<Farkas> provenFarkasFar(const ProblemCache& problem,
                                                    Vector y,
                                                    const BestPoint& best);

struct ProvenRay {
    Vector direction;  ///< largest entry 1, or between 1 and 2
    Residual residual;
};

/// A scaled direction in the caller's variables, if the problem is unbounded along it from every
/// feasible point.
[[nodiscard]] std::optional<ProvenRay> provenRay(const ProblemCache& problem,
                                                 const Vector& direction);

}  // namespace activeset::frontend

#endif
