// Notices when an active-set method cycles.
#ifndef ACTIVESET_SRC_FRONTEND_CORE_CYCLE_DETECTOR_HPP
#define ACTIVESET_SRC_FRONTEND_CORE_CYCLE_DETECTOR_HPP

#include <cstddef>
#include <cstdint>
#include <unordered_map>

#include "frontend/algebra/vector.hpp"

namespace activeset::frontend {

/// Is told of each minimum on a working set from which a constraint is dropped. In exact arithmetic
/// each minimum is lower than the one before, so that no working set comes back.
class CycleDetector {
public:
    /// Whether the method cycles: the working set has come back more often than rounding explains,
    /// or too many minima lay at one point. The second test is for points where far more
    /// constraints than variables meet: there are too many working sets to wait until one comes
    /// back.
    ///
    /// @param members  numbers of the constraints, `count` of them, in any order
    /// @param point    the minimum, n entries
    [[nodiscard]] bool hasReturned(const std::size_t* members,
                                   std::size_t count,
                                   const double* point,
                                   std::size_t n);
    /// Another objective begins.
    void restart() { seen_.clear(); }

private:
    [[nodiscard]] bool hasStalled(const double* point, std::size_t n);

    std::unordered_map<std::uint64_t, int> seen_;
    Vector stalledAt_;
    std::size_t minima_ = 0;  ///< met at `stalledAt_`
};

}  // namespace activeset::frontend

#endif
