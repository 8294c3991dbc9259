// Ctrl-C asks the running solve to stop.
#ifndef ACTIVESET_CLI_INTERRUPT_HPP
#define ACTIVESET_CLI_INTERRUPT_HPP

namespace activeset::cli {

/// While an object lives, the first SIGINT sets the library's interrupt flag, and the second one
/// ends the process as it does by default. There is one object at a time.
class InterruptHandler {
public:
    InterruptHandler();
    ~InterruptHandler();
    InterruptHandler(const InterruptHandler&) = delete;
    InterruptHandler(InterruptHandler&&) = delete;
    InterruptHandler& operator=(const InterruptHandler&) = delete;
    InterruptHandler& operator=(InterruptHandler&&) = delete;

    [[nodiscard]] static bool isPending() noexcept;
};

}  // namespace activeset::cli

#endif
