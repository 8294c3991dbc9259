// Moves sides by pseudo-random amounts, in proportion to their size.
#include "frontend/loop/perturbation.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

namespace activeset::frontend {

void Perturbation::putOn(int strength) {
    constexpr double LeastPerturbation = 1e-7;
    constexpr double PerturbationGrowth = 4.0;
    CoreForm& form = problem_.coreForm();
    if (!unperturbed_) {
        unperturbed_ = form;
    }
    std::uint64_t state = 0x2545F4914F6CDD1DU + static_cast<std::uint64_t>(strength);
    const auto random = [&state] {  // between 1 and 2
        state = state * 6364136223846793005U + 1442695040888963407U;
        return 1.0 + static_cast<double>(state >> 11U) * 0x1p-53;
    };
    const double size = LeastPerturbation * std::pow(PerturbationGrowth, strength);
    for (double& side : form.b) {
        side += size * random() * std::max(1.0, std::abs(side));
    }
    for (std::size_t j = 0; j < form.variables(); ++j) {
        form.lb[j] -= size * random() * std::max(1.0, std::abs(form.lb[j]));
        form.ub[j] += size * random() * std::max(1.0, std::abs(form.ub[j]));
    }
}

void Perturbation::takeOff() noexcept {
    if (unperturbed_) {
        problem_.setCoreForm(std::move(*unperturbed_));
        unperturbed_.reset();
    }
}

}  // namespace activeset::frontend
