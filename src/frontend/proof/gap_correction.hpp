// The last digits of a duality gap.
#ifndef ACTIVESET_SRC_FRONTEND_PROOF_GAP_CORRECTION_HPP
#define ACTIVESET_SRC_FRONTEND_PROOF_GAP_CORRECTION_HPP

#include "frontend/proof/certificate.hpp"

namespace activeset::frontend {

/// An absolute gap above this is corrected where it can be.
inline constexpr double LargeGap = 1e-10;

/// Changes multipliers of the working set by so little that the largest absolute residual, be it
/// that of the gap, falls, and all stay within 1e-11, and the tolerance, in proportion; leaves the
/// point alone where that cannot be.
void correctGap(const ProblemData& data,
                const WorkingSet& set,
                double tolerance,
                Point& point,
                Judgement& judgement);

}  // namespace activeset::frontend

#endif
