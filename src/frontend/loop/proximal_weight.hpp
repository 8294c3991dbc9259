// Weights ρ of the proximal term.
#ifndef ACTIVESET_SRC_FRONTEND_LOOP_PROXIMAL_WEIGHT_HPP
#define ACTIVESET_SRC_FRONTEND_LOOP_PROXIMAL_WEIGHT_HPP

#include "frontend/algebra/dense.hpp"
#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

/// The first ρ. With a small enough weight the first minimum is a minimum of the linear program
/// itself, and without H the size of ρ does not change the condition of the subproblem.
[[nodiscard]] inline double firstWeight(const ProblemData& data) {
    constexpr double WeightOfCurvature = 1e-6;
    constexpr double WeightOfLinear = 1e-9;
    return data.quadratic ? WeightOfCurvature * data.H.largest() : WeightOfLinear;
}

/// The least ρ; less would be lost in rounding.
[[nodiscard]] inline double leastWeight(const ProblemData& data) {
    constexpr double LeastShare = 1e-10;
    return LeastShare * firstWeight(data);
}

}  // namespace activeset::frontend

#endif
