// What the small road has found, as a result.
#ifndef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_RESULT_HPP
#define ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_RESULT_HPP

#include "frontend/predict/small_data.hpp"
#include "frontend/predict/small_dual.hpp"
#include "frontend/proof/certificate.hpp"

namespace activeset::frontend {

// Both overwrite all of a result.

/// A point in the memory that is proved.
struct SmallOptimum {
    SmallMemory& memory;
    std::size_t size;  ///< how many members
    const Judgement& judgement;
    double tolerance;
};

/// With its working set if that is wanted.
void writeOptimum(const Problem& problem,
                  const SmallOptimum& optimum,
                  bool isSetWanted,
                  Result& result);

/// Rows that contradict one another or the bounds by their weights, memory.multipliers, and the
/// point where the solve began. False where it is not proved.
[[nodiscard]] bool writeContradiction(const Problem& problem,
                                      const WarmStart& start,
                                      const SmallExtent& extent,
                                      SmallMemory& memory,
                                      Result& result);

}  // namespace activeset::frontend

#endif
