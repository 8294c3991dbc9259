// Console output, the interrupt flag and mode, and the largest double.
#include <cstdarg>
#include <iostream>
#include <limits>

#include "activeset/host.hpp"
#include "host/format.hpp"
#include "thread_state.hpp"

static_assert(std::atomic<std::uint8_t>::is_always_lock_free,
              "a signal handler may only set a lock-free flag");

// The one global that the interface names.
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
std::atomic<std::uint8_t> utInterruptState::flags_pending{0};

void utPrintf(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const std::string text = activeset::formatted(format, arguments);
    va_end(arguments);
    std::cout << text;
}

double utGetRealMax() noexcept {
    return std::numeric_limits<double>::max();
}

utInterruptMode::utInterruptMode(int mode) noexcept
    : previousMode_(activeset::threadState().interruptMode) {
    activeset::threadState().interruptMode = mode;
    ++activeset::threadState().interruptDepth;
}

utInterruptMode::~utInterruptMode() {
    activeset::threadState().interruptMode = previousMode_;
    --activeset::threadState().interruptDepth;
}

int utInterruptMode::depth() noexcept {
    return activeset::threadState().interruptDepth;
}

int utInterruptMode::current() noexcept {
    return activeset::threadState().interruptMode;
}
