// The explicit law as it is asked.
#include "activeset/regions.hpp"

#include <stdexcept>

namespace activeset {

std::optional<std::size_t> Regions::find(VectorView theta) const {
    const std::size_t p = parameters();
    if (theta.size() != p) {
        throw std::invalid_argument("activeset: Regions: theta has " +
                                    std::to_string(theta.size()) + " entries, there are " +
                                    std::to_string(p) + " parameters");
    }
    // A parameter may miss the sides of its region by so much.
    constexpr double InsideTolerance = 1e-9;
    for (std::size_t k = 0; k < p; ++k) {
        if (!(theta[k] >= least_[k] && theta[k] <= most_[k])) {
            return std::nullopt;
        }
    }
    for (std::size_t r = 0; r < regions_.size(); ++r) {
        const CriticalRegion& region = regions_[r];
        bool isInside = true;
        for (std::size_t i = 0; i < region.e.size() && isInside; ++i) {
            double value = -region.e[i];
            for (std::size_t k = 0; k < p; ++k) {
                value += region.E[i * p + k] * theta[k];
            }
            isInside = value <= InsideTolerance;
        }
        if (isInside) {
            return r;
        }
    }
    return std::nullopt;
}

std::vector<double> Regions::x(VectorView theta) const {
    const std::optional<std::size_t> place = find(theta);
    if (!place) {
        return {};
    }
    const CriticalRegion& region = regions_[*place];
    std::vector<double> point = region.offset;
    for (std::size_t j = 0; j < n_; ++j) {
        for (std::size_t k = 0; k < theta.size(); ++k) {
            point[j] += region.gain[j * theta.size() + k] * theta[k];
        }
    }
    return point;
}

}  // namespace activeset
