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
/// gradient misses. The relative gap bounds the error of the objective: with ρ = R·x − s, the rest
/// g = Rᵀρ + Aᵀy + z of the gradient and any δ for which Rᵀδ = −g, ρ + δ is dual feasible, so
///
///     f(x) − f(x*) ≤ slackness + ½‖δ‖².
///
/// If columns of R depend on others but for rounding, Σ |g_j|·|x_j| stands for ½‖δ‖²: g is
/// measured by x then, and not by all solutions.
[[nodiscard]] FitJudgement judge(const Fit& fit, const ProblemData& constraints, Point& point);

}  // namespace activeset::frontend

#endif
