// The instance of each thread.
#include "thread_state.hpp"

namespace activeset {

// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): see the header
constinit thread_local ThreadState* currentThreadState = nullptr;

ThreadState& makeThreadState() noexcept {
    // One per thread by design: see the header.
    static thread_local ThreadState state;
    currentThreadState = &state;
    return state;
}

}  // namespace activeset
