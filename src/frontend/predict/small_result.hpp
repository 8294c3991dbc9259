// What the small road has found, as a result.
#ifndef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_RESULT_HPP
#define ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_RESULT_HPP

#include <optional>

#include "frontend/predict/small_dual.hpp"
#include "frontend/proof/certificate.hpp"

namespace activeset::frontend {

/// The point in the memory, which is proved, and its working set.
[[nodiscard]] Result optimumOf(const Problem& problem,
                               SmallMemory& memory,
                               const SmallDual& dual,
                               const Judgement& judgement,
                               double tolerance);

/// The contradiction that the dual method has ended with, at the start, if it is proved.
[[nodiscard]] std::optional<Result> contradictionOf(const Problem& problem,
                                                    const SmallMemory& memory,
                                                    const SmallDual& dual);

}  // namespace activeset::frontend

#endif
