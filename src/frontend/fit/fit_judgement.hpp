// What a point and its multipliers are worth for a fit, from R and s alone, in extended precision.
#ifndef ACTIVESET_SRC_FRONTEND_FIT_FIT_JUDGEMENT_HPP
#define ACTIVESET_SRC_FRONTEND_FIT_FIT_JUDGEMENT_HPP

#include "frontend/fit/fit_data.hpp"
#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

struct FitJudgement {
    Certificate certificate;
    double objective = 0.0;  ///< ½‖R·x − s‖²
};

/// Multipliers without a side become zero, those of bounds at which x lies take up what the
/// gradient misses. The relative gap bounds the error of the objective: with ρ = R·x − s and any δ,
///
///     f(x) − f(x*) ≤ slackness + ½‖δ‖² + Σ |g'_j|·|x_j|,   g' = Rᵀ(ρ + δ) + Aᵀy + z,
///
/// as ρ + δ is dual feasible up to g'. δ takes up what the rounding of x makes of the gradient.
[[nodiscard]] FitJudgement judge(const Fit& fit, const ProblemData& constraints, Point& point);

}  // namespace activeset::frontend

#endif
