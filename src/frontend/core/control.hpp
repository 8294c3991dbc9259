// What may end a solve early. It is looked at after every pass of the core.
#ifndef ACTIVESET_SRC_FRONTEND_CORE_CONTROL_HPP
#define ACTIVESET_SRC_FRONTEND_CORE_CONTROL_HPP

#include <chrono>
#include <cstddef>
#include <exception>
#include <functional>
#include <optional>

#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

/// Counts passes over all runs of one solve and says when it has to end, and why.
class Control {
public:
    /// @param automaticLimit  stands for a Settings::maxIterations of 0
    /// @param isTimed         whether seconds() is asked for; if not, it is 0 unless there is a
    /// time
    ///                        limit, and no clock is read
    Control(const Settings& settings, std::size_t automaticLimit, bool isTimed = true);

    /// Called at the end of a pass; `report` is called only if there is a callback.
    void endPass(bool phaseOne, const std::function<Progress()>& report);
    /// While it is quiet, the callback is not called.
    void setQuiet(bool isQuiet) { isQuiet_ = isQuiet; }
    /// Looks at limits, stop token and interrupt flag; for loops without passes of the core.
    void poll();

    [[nodiscard]] bool mustEnd() const { return end_.has_value(); }
    /// IterationLimit, TimeLimit or Interrupted.
    [[nodiscard]] std::optional<Status> end() const { return end_; }
    [[nodiscard]] std::size_t phaseOnePasses() const { return phaseOnePasses_; }
    [[nodiscard]] std::size_t mainPasses() const { return mainPasses_; }
    [[nodiscard]] std::size_t passesLeft() const;
    [[nodiscard]] double seconds() const;
    /// How many of them were spent in a Polishing.
    [[nodiscard]] double polishSeconds() const { return polishSeconds_; }
    /// Raises again what the callback has raised, which must not pass through the core.
    void rethrow() const;

private:
    const Settings& settings_;
    std::size_t limit_;
    bool isTimed_;
    std::chrono::steady_clock::time_point begin_;
    std::size_t phaseOnePasses_ = 0;
    std::size_t mainPasses_ = 0;
    std::optional<Status> end_;
    bool isQuiet_ = false;
    std::exception_ptr raised_;

    friend class Polishing;
    double polishSeconds_ = 0.0;
    bool isPolishing_ = false;
};

/// Counts the time of its life as spent on refinement and proof. Inside another one it does nothing
/// and reads no clock.
class Polishing {
public:
    explicit Polishing(Control& control)
        : control_(control.isPolishing_ ? nullptr : &control),
          begin_(control.isPolishing_ ? 0.0 : control.seconds()) {
        control.isPolishing_ = true;
    }
    ~Polishing() {
        if (control_ != nullptr) {
            control_->isPolishing_ = false;
            control_->polishSeconds_ += control_->seconds() - begin_;
        }
    }
    Polishing(const Polishing&) = delete;
    Polishing& operator=(const Polishing&) = delete;

private:
    Control* control_;
    double begin_;
};

}  // namespace activeset::frontend

#endif
