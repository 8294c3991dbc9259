// Sides that are moved apart for a while, against degenerate vertices.
#ifndef ACTIVESET_SRC_FRONTEND_LOOP_PERTURBATION_HPP
#define ACTIVESET_SRC_FRONTEND_LOOP_PERTURBATION_HPP

#include <optional>

#include "frontend/loop/problem_cache.hpp"

namespace activeset::frontend {

/// Moves the sides in the core's form of a problem outwards, each by an amount of its own. They are
/// put back when it is taken off or destroyed.
class Perturbation {
public:
    explicit Perturbation(ProblemCache& problem) : problem_(problem) {}
    Perturbation(const Perturbation&) = delete;
    Perturbation& operator=(const Perturbation&) = delete;
    ~Perturbation() { takeOff(); }

    [[nodiscard]] bool isOn() const { return unperturbed_.has_value(); }
    /// Adds one whose size grows with `strength`, from 1 up. The same in every run.
    void putOn(int strength);
    void takeOff() noexcept;

private:
    ProblemCache& problem_;
    std::optional<CoreForm> unperturbed_;
};

}  // namespace activeset::frontend

#endif
