// The handler only sets the flag, which is lock-free; the library polls it once a pass.
#include "cli/interrupt.hpp"

#include <csignal>

#include "activeset/host.hpp"

namespace activeset::cli {

namespace {

extern "C" void requestStop(int /*signal*/) {
    utInterruptState::flags_pending.fetch_or(1U);
}

}  // namespace

InterruptHandler::InterruptHandler() {
    struct sigaction action {};
    action.sa_handler = &requestStop;
    // The handler runs once; then the default action is back.
    action.sa_flags = static_cast<int>(SA_RESETHAND | static_cast<unsigned>(SA_RESTART));
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
}

InterruptHandler::~InterruptHandler() {
    static_cast<void>(std::signal(SIGINT, SIG_DFL));
    utInterruptState::flags_pending.fetch_and(static_cast<std::uint8_t>(~1U));
}

bool InterruptHandler::isPending() noexcept {
    return (utInterruptState::flags_pending.load() & 1U) != 0;
}

}  // namespace activeset::cli
