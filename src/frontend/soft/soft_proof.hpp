// What a point and its multipliers are worth for a problem with soft sides.
#ifndef ACTIVESET_SRC_FRONTEND_SOFT_SOFT_PROOF_HPP
#define ACTIVESET_SRC_FRONTEND_SOFT_SOFT_PROOF_HPP

#include "frontend/proof/certificate.hpp"
#include "frontend/soft/piece.hpp"

namespace activeset::frontend {

struct SoftProof {
    Point point;
    Judgement judgement;
    std::vector<Side> beyond;  ///< soft sides that the point violates
    bool areCapped = true;     ///< no multiplier exceeds its penalty
};

/// Judges a point, with the multipliers of the soft problem, from the data themselves. What the
/// point has beyond the sides of the piece costs; sides within which the piece is count as hard,
/// their multipliers are cut off at the penalty. No side that is held, by its name, is violated.
[[nodiscard]] SoftProof proveSoft(const ProblemData& data,
                                  const Penalties& penalties,
                                  const Piece& piece,
                                  const std::vector<Side>& held,
                                  Point point);

}  // namespace activeset::frontend

#endif
