// The instance of each thread.
#include "thread_state.hpp"

namespace activeset {

ThreadState& threadState() noexcept {
    // One per thread by design: see the header.
    static thread_local ThreadState state;
    return state;
}

}  // namespace activeset
