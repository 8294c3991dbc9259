// A message if a library that the tool uses crashes.
#ifndef ACTIVESET_CLI_CRASH_MESSAGE_HPP
#define ACTIVESET_CLI_CRASH_MESSAGE_HPP

#include <array>
#include <csignal>

namespace activeset::cli {

/// While an object lives, a crash ends the process with a line on standard error and status
/// HasFailed. It is needed because the library that reads problem files does not check its
/// allocations.
class CrashMessage {
public:
    CrashMessage() noexcept;
    ~CrashMessage();
    CrashMessage(const CrashMessage&) = delete;
    CrashMessage(CrashMessage&&) = delete;
    CrashMessage& operator=(const CrashMessage&) = delete;
    CrashMessage& operator=(CrashMessage&&) = delete;

private:
    static constexpr std::array Signals{SIGSEGV, SIGBUS, SIGABRT};
    std::array<struct sigaction, Signals.size()> before_{};
};

}  // namespace activeset::cli

#endif
