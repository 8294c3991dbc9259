// What may end a solve before its time, looked at after every pass of the core.
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
    /// @param isTimed         whether somebody asks for seconds; without, they are 0 where there is
    ///                        no limit, and no clock is read
    Control(const Settings& settings, std::size_t automaticLimit, bool isTimed = true);

    /// Called at the end of a pass; `report` is asked only when somebody wants to know.
    void endPass(bool phaseOne, const std::function<Progress()>& report);
    /// Whether the callback is left alone.
    void setQuiet(bool isQuiet) { isQuiet_ = isQuiet; }
    /// Looks at everything but the callback; for loops that make no passes.
    void poll();

    [[nodiscard]] bool mustEnd() const { return end_.has_value(); }
    /// IterationLimit, TimeLimit or Interrupted.
    [[nodiscard]] std::optional<Status> end() const { return end_; }
    [[nodiscard]] std::size_t phaseOnePasses() const { return phaseOnePasses_; }
    [[nodiscard]] std::size_t mainPasses() const { return mainPasses_; }
    [[nodiscard]] std::size_t passesLeft() const;
    [[nodiscard]] double seconds() const;
    /// So much of them passed while somebody was polishing.
    [[nodiscard]] double polishSeconds() const { return polishSeconds_; }
    /// What the callback raised is raised again: it may not pass through the core.
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

/// Books the time of its life as that of refinement and proof; within another one it does nothing,
/// and asks for no time.
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
