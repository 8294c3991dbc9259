// Follows multipliers until one vanishes.
#include "frontend/predict/multiplier_path.hpp"

#include <algorithm>
#include <cmath>

namespace activeset::frontend {

MultiplierPath pathBetween(const Vector& from, const Vector& to, const Vector& signs) {
    const auto isWrong = [&](std::size_t k) {
        return signs[k] != 0.0 && !(signs[k] * to[k] > 0.0);
    };
    const auto way = [&](std::size_t k) { return std::abs(from[k]) + std::abs(to[k]); };
    double alpha = 1.0;
    for (std::size_t k = 0; k < from.size(); ++k) {
        if (isWrong(k)) {
            alpha = std::min(alpha, way(k) > 0.0 ? std::abs(from[k]) / way(k) : 0.0);
        }
    }
    MultiplierPath path{from, std::vector<bool>(from.size(), false)};
    for (std::size_t k = 0; k < from.size(); ++k) {
        path.hasVanished[k] = isWrong(k) && std::abs(from[k]) <= alpha * way(k);
        path.multipliers[k] = path.hasVanished[k] ? 0.0 : from[k] + alpha * (to[k] - from[k]);
    }
    return path;
}

}  // namespace activeset::frontend
