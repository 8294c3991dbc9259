// What the point of the small road is worth.
#ifndef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_PROOF_HPP
#define ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_PROOF_HPP

#include "frontend/predict/small_data.hpp"
#include "frontend/proof/certificate.hpp"

namespace activeset::frontend {

/// As judge() does it, from the sums in the memory. The memory's side products are scratch.
[[nodiscard]] Judgement judge(SmallMemory& memory, const SmallExtent& extent, double constant);

}  // namespace activeset::frontend

#endif
