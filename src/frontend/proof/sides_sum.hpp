// Multipliers and the sides that they stand for.
#ifndef ACTIVESET_SRC_FRONTEND_PROOF_SIDES_SUM_HPP
#define ACTIVESET_SRC_FRONTEND_PROOF_SIDES_SUM_HPP

#include <cmath>

#include "frontend/problem/extended_sums.hpp"

namespace activeset::frontend {

/// The multiplier, or 0 if the side that it would stand for is absent.
[[nodiscard]] inline double projected(double multiplier, double lower, double upper) {
    if (multiplier > 0.0) {
        return upper < Infinity ? multiplier : 0.0;
    }
    return lower > -Infinity ? multiplier : 0.0;
}

inline void project(Vector& multipliers, const Vector& lower, const Vector& upper) {
    for (std::size_t k = 0; k < multipliers.size(); ++k) {
        multipliers[k] = projected(multipliers[k], lower[k], upper[k]);
    }
}

/// Adds Σ y⁺·upper − y⁻·lower.
inline void addSides(Sum& sum,
                     const Vector& multipliers,
                     const Vector& lower,
                     const Vector& upper) {
    for (std::size_t k = 0; k < multipliers.size(); ++k) {
        if (multipliers[k] != 0.0) {
            sum.add(Extended(multipliers[k]) * (multipliers[k] > 0.0 ? upper[k] : lower[k]));
        }
    }
}

/// Σ multiplier·(side − value), and a bound for its rounding error.
struct Slackness {
    Extended value = 0;
    double rounding = 0.0;

    void add(double multiplier, const Sum& at, std::size_t terms, double lower, double upper) {
        if (multiplier != 0.0) {
            const double side = multiplier > 0.0 ? upper : lower;
            value += (side - at.value) * multiplier;
            rounding += roundingOf(at, terms) * std::abs(multiplier);
        }
    }
};

}  // namespace activeset::frontend

#endif
