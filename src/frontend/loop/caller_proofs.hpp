// What a solve claims in scaled variables, proved by the caller's data or not claimed at all.
#ifndef ACTIVESET_SRC_FRONTEND_LOOP_CALLER_PROOFS_HPP
#define ACTIVESET_SRC_FRONTEND_LOOP_CALLER_PROOFS_HPP

#include <optional>

#include "frontend/loop/best_point.hpp"

namespace activeset::frontend {

/// The Farkas vector that scaled multipliers of rows make, with what bounds can take, if it proves
/// that there is no feasible point. The best point, if it is feasible, is none of those for which
/// it may be true.
[[nodiscard]] std::optional<Farkas> provenFarkas(const ProblemCache& problem,
                                                 Vector y,
                                                 const BestPoint& best);

/// The same of multipliers out of equations that may be nearly singular: it has to reach farther.
[[nodiscard]] std::optional<Farkas> provenFarkasFar(const ProblemCache& problem,
                                                    Vector y,
                                                    const BestPoint& best);

struct ProvenRay {
    Vector direction;  ///< largest entry 1, or between 1 and 2
    Residual residual;
};

/// A scaled direction in the caller's variables, if the problem is unbounded along it wherever it
/// is feasible.
[[nodiscard]] std::optional<ProvenRay> provenRay(const ProblemCache& problem,
                                                 const Vector& direction);

}  // namespace activeset::frontend

#endif
