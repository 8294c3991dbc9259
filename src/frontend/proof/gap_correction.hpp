// The last digits of a duality gap.
#ifndef ACTIVESET_SRC_FRONTEND_PROOF_GAP_CORRECTION_HPP
#define ACTIVESET_SRC_FRONTEND_PROOF_GAP_CORRECTION_HPP

#include "frontend/proof/certificate.hpp"

namespace activeset::frontend {

/// An absolute gap above this is corrected where it can be.
inline constexpr double LargeGap = 1e-10;

/// Changes multipliers of the working set in their last digits so that the largest absolute
/// residual falls, the gap counting as one. The relative residuals stay within 1e-11 and the
/// tolerance. If that is not possible the point stays as it is.
void correctGap(const ProblemData& data,
                const WorkingSet& set,
                double tolerance,
                Point& point,
                Judgement& judgement);

}  // namespace activeset::frontend

#endif
