// The rare case of a thread with an environment of its own.
#include "host/floating_point.hpp"

namespace activeset {

#if defined(__x86_64__)

void FloatingPointGuard::change() noexcept {
    std::fegetenv(&environment_);
    std::fesetenv(FE_DFL_ENV);  // which leaves the flushing of subnormals alone
    _mm_setcsr(SseDefault);
}

// The flags of the solve go first: with its trap enabled again each of them would be one.
void FloatingPointGuard::putBack() noexcept {
    std::fesetenv(&environment_);
    _mm_setcsr(sse_);
}

void FloatingPointGuard::putBackFlags() const noexcept {
    _mm_setcsr(sse_);
    if ((x87Flags_ & Telling) == 0) {
        asm volatile("fnclex");
    }
}

#endif

}  // namespace activeset
