// The interrupt flag, as those look at it who have to end then.
#ifndef ACTIVESET_SRC_HOST_INTERRUPT_HPP
#define ACTIVESET_SRC_HOST_INTERRUPT_HPP

#include <atomic>

#include "activeset/host.hpp"

namespace activeset {

/// Whether the interrupt bit of the process is set.
[[nodiscard]] inline bool isInterruptPending() noexcept {
    return (utInterruptState::flags_pending.load(std::memory_order_relaxed) & 1U) != 0;
}

}  // namespace activeset

#endif
