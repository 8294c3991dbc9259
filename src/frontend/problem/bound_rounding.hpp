// Variables that rounding has moved beyond a bound.
#ifndef ACTIVESET_SRC_FRONTEND_PROBLEM_BOUND_ROUNDING_HPP
#define ACTIVESET_SRC_FRONTEND_PROBLEM_BOUND_ROUNDING_HPP

namespace activeset::frontend {

/// What solving for variables that are no larger than `largest` may leave of rounding.
[[nodiscard]] inline double boundRounding(double largest) {
    constexpr double BoundRounding = 1e-13;
    return BoundRounding * largest;
}

/// x, or the bound that x is beyond by no more than `rounding`.
[[nodiscard]] inline double atBoundButFor(double rounding, double x, double lower, double upper) {
    if (x > upper) {
        return x - upper <= rounding ? upper : x;
    }
    return x < lower && lower - x <= rounding ? lower : x;
}

}  // namespace activeset::frontend

#endif
