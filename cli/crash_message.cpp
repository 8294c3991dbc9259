// Installs signal handlers while a file is read.
#include "cli/crash_message.hpp"

#include <unistd.h>

#include <cstddef>

#include "cli/exit_status.hpp"

namespace activeset::cli {

namespace {

extern "C" void tellAndEnd(int /*signal*/) {
    static constexpr char Text[] =
        "activeset: the reading of a file crashed, as it may when memory ends\n";
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, Text, sizeof Text - 1);
    _exit(HasFailed);
}

}  // namespace

CrashMessage::CrashMessage() noexcept {
    struct sigaction action {};
    action.sa_handler = tellAndEnd;
    for (std::size_t k = 0; k < Signals.size(); ++k) {
        sigaction(Signals[k], &action, &before_[k]);
    }
}

CrashMessage::~CrashMessage() {
    for (std::size_t k = 0; k < Signals.size(); ++k) {
        sigaction(Signals[k], &before_[k], nullptr);
    }
}

}  // namespace activeset::cli
