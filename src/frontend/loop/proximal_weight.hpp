// Weights ρ of the proximal term.
#ifndef ACTIVESET_SRC_FRONTEND_LOOP_PROXIMAL_WEIGHT_HPP
#define ACTIVESET_SRC_FRONTEND_LOOP_PROXIMAL_WEIGHT_HPP

#include "frontend/algebra/dense.hpp"
#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

/// With a small enough weight the first minimum is one of a linear program itself, and without an H
/// the size of ρ does not touch the condition of the subproblem.
[[nodiscard]] inline double firstWeight(const ProblemData& data) {
    constexpr double OfCurvature = 1e-6;
    constexpr double OfLinear = 1e-9;
    return data.quadratic ? OfCurvature * largestMagnitude(data.H) : OfLinear;
}

/// Less than this is lost in rounding.
[[nodiscard]] inline double leastWeight(const ProblemData& data) {
    return 1e-10 * firstWeight(data);
}

}  // namespace activeset::frontend

#endif
