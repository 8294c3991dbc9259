// Moves sides outwards for a while, against degenerate vertices.
#ifndef ACTIVESET_SRC_FRONTEND_LOOP_PERTURBATION_HPP
#define ACTIVESET_SRC_FRONTEND_LOOP_PERTURBATION_HPP

#include <optional>

#include "frontend/loop/problem_cache.hpp"

namespace activeset::frontend {

/// Moves each side in the core's form of a problem outwards by an amount of its own. The sides are
/// put back when the perturbation is taken off or destroyed.
class Perturbation {
public:
    explicit Perturbation(ProblemCache& problem) : problem_(problem) {}
    Perturbation(const Perturbation&) = delete;
    Perturbation& operator=(const Perturbation&) = delete;
    ~Perturbation() { takeOff(); }

    [[nodiscard]] bool isOn() const { return unperturbed_.has_value(); }
    /// Adds a perturbation whose size grows with `strength`, from 1 up; the same in every run.
    void putOn(int strength);
    void takeOff() noexcept;

private:
    ProblemCache& problem_;
    std::optional<CoreForm> unperturbed_;
};

}  // namespace activeset::frontend

#endif
