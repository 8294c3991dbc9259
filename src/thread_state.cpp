// The instance of each thread.
#include "thread_state.hpp"

namespace activeset {

constinit thread_local ThreadState* currentThreadState = nullptr;

ThreadState& makeThreadState() noexcept {
    // One per thread by design: see the header.
    static thread_local ThreadState state;
    currentThreadState = &state;
    return state;
}

}  // namespace activeset
