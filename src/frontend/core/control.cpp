// Limits, stop token, interrupt flag and callback.
#include "frontend/core/control.hpp"

#include "host/interrupt.hpp"

namespace activeset::frontend {

Control::Control(const Settings& settings, std::size_t automaticLimit, bool isTimed)
    : settings_(settings),
      limit_(settings.maxIterations != 0 ? settings.maxIterations : automaticLimit),
      isTimed_(isTimed || settings.timeLimit < std::chrono::duration<double>::max()),
      begin_(isTimed_ ? std::chrono::steady_clock::now()
                      : std::chrono::steady_clock::time_point()) {}

void Control::endPass(bool phaseOne, const std::function<Progress()>& report) {
    ++(phaseOne ? phaseOnePasses_ : mainPasses_);
    poll();
    if (settings_.onPass && !isQuiet_ && !mustEnd()) {
        try {
            Progress progress = report();
            progress.phaseOne = phaseOne;
            progress.iteration = phaseOnePasses_ + mainPasses_;
            if (!settings_.onPass(progress)) {
                end_ = Status::Interrupted;
            }
        } catch (...) {
            raised_ = std::current_exception();
            end_ = Status::Interrupted;
        }
    }
}

void Control::poll() {
    if (mustEnd()) {
        return;
    }
    if (settings_.stop.stop_requested() || isInterruptPending()) {
        end_ = Status::Interrupted;
    } else if (settings_.timeLimit < std::chrono::duration<double>::max() &&
               seconds() >= settings_.timeLimit.count()) {
        end_ = Status::TimeLimit;
    } else if (passesLeft() == 0) {
        end_ = Status::IterationLimit;
    }
}

std::size_t Control::passesLeft() const {
    const std::size_t done = phaseOnePasses_ + mainPasses_;
    return done < limit_ ? limit_ - done : 0;
}

double Control::seconds() const {
    if (!isTimed_) {
        return 0.0;
    }
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin_).count();
}

void Control::rethrow() const {
    if (raised_) {
        std::rethrow_exception(raised_);
    }
}

}  // namespace activeset::frontend
