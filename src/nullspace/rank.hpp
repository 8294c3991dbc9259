// When a diagonal entry of a pivoted R counts as zero.
#ifndef ACTIVESET_SRC_NULLSPACE_RANK_HPP
#define ACTIVESET_SRC_NULLSPACE_RANK_HPP

#include "activeset/matrix.hpp"
#include "activeset/sizes.hpp"

namespace activeset {

/// 100·n·ε for the n variables of the problem; entries strictly below it count as zero. Absolute:
/// it is not scaled by the size of the rows.
[[nodiscard]] inline double rankTolerance() {
    constexpr double RankFactor = 100.0;
    return RankFactor * static_cast<double>(OPTsizes::getnVar()) * machineEpsilon();
}

}  // namespace activeset

#endif
