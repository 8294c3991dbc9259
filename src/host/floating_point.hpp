// The floating-point environment that a solve needs: rounding to nearest, subnormals kept, no
// traps, and, where there are x87 registers, their full precision.
#ifndef ACTIVESET_SRC_HOST_FLOATING_POINT_HPP
#define ACTIVESET_SRC_HOST_FLOATING_POINT_HPP

#include <cfenv>

#if defined(__x86_64__)
#include <xmmintrin.h>
#endif

namespace activeset {

/// Sets that environment where the thread has another one, and puts the thread's back at the end.
/// Status flags, but for "inexact", are as before, too: one that is left behind in the x87
/// registers would trap as soon as the host enables traps. Where nothing has to be changed
/// registers are read.
class FloatingPointGuard {
public:
#if defined(__x86_64__)
    FloatingPointGuard() noexcept : sse_(_mm_getcsr()) {
        asm volatile("fnstcw %0" : "=m"(x87_));
        asm volatile("fnstsw %0" : "=m"(x87Flags_));
        isChanged_ = (sse_ & ~SseFlags) != SseDefault || (x87_ & X87Bits) != X87Default;
        if (isChanged_) {
            change();
        }
    }
    ~FloatingPointGuard() {
        unsigned short flags = 0;
        asm volatile("fnstsw %0" : "=m"(flags));
        if (isChanged_) {
            putBack();
        } else if ((((_mm_getcsr() ^ sse_) | (flags ^ x87Flags_)) & Telling) != 0) {
            putBackFlags();
        }
    }
#else
    FloatingPointGuard() noexcept {
        std::fegetenv(&environment_);
        std::fesetenv(FE_DFL_ENV);
    }
    ~FloatingPointGuard() {
        std::fesetenv(&environment_);
    }
#endif
    FloatingPointGuard(const FloatingPointGuard&) = delete;
    FloatingPointGuard(FloatingPointGuard&&) = delete;
    FloatingPointGuard& operator=(const FloatingPointGuard&) = delete;
    FloatingPointGuard& operator=(FloatingPointGuard&&) = delete;

private:
#if defined(__x86_64__)
    static constexpr unsigned Telling = 0x1D;   // flags: all but "inexact" and "denormal operand"
    static constexpr unsigned SseFlags = 0x3F;  // what has happened
    static constexpr unsigned SseDefault = 0x1F80;       // traps masked, nearest, subnormals kept
    static constexpr unsigned short X87Bits = 0xF3F;     // masks, precision, rounding
    static constexpr unsigned short X87Default = 0x33F;  // traps masked, 64 bits, nearest

    void change() noexcept;
    void putBack() noexcept;
    void putBackFlags() const noexcept;

    unsigned sse_;
    unsigned short x87_ = 0;
    unsigned short x87Flags_ = 0;
    bool isChanged_;
#endif
    std::fenv_t environment_{};  ///< of the thread, where it is another one
};

}  // namespace activeset

#endif
