// What the point of the small road is worth.
#ifndef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_PROOF_HPP
#define ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_PROOF_HPP

#include "frontend/predict/small_data.hpp"
#include "frontend/proof/certificate.hpp"
#include "frontend/proof/farkas.hpp"

namespace activeset::frontend {

/// As judge() does it, from the sums in the memory. The memory's side products are scratch.
[[nodiscard]] Judgement judge(SmallMemory& memory, const SmallExtent& extent, double constant);

/// Whether rows weighed by memory.multipliers, memory.u being Aᵀy, seem to contradict one another
/// or the bounds, by the sums of sides. Writes what bounds take to the multipliers.
[[nodiscard]] bool doBoundsContradict(SmallMemory& memory);

/// Of the problem in the memory.
[[nodiscard]] ConstraintsView constraintsOf(const SmallMemory& memory);

}  // namespace activeset::frontend

#endif
