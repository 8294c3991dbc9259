// Judges whether the numbers of a strict solve support its outcome.
#ifndef ACTIVESET_CLI_VERDICT_HPP
#define ACTIVESET_CLI_VERDICT_HPP

#include "cli/solve_problem.hpp"

namespace activeset::cli {

/// A residual and whether the outcome may stand beside it.
struct JudgedResidual {
    double value = 0.0;
    bool supports = true;
};

/// The residuals of a result, computed from the problem's data without the solver.
struct Verdict {
    /// ½xᵀHx + cᵀx + constant, with the sign of the file; supports the outcome when the solver
    /// reports the same value.
    JudgedResidual objective;
    /// Largest violation of a constraint, absolute.
    JudgedResidual primal;
    /// Largest entry of H·x + c + Aeqᵀλeq + Aᵀλineq − λlower + λupper in magnitude, or the
    /// amount by which a multiplier of an inequality or bound is negative, if that is more.
    JudgedResidual dual;
    /// Largest product in magnitude of the multiplier and the slack of an inequality or bound,
    /// small or not in proportion to the objective. An absent bound has no slack: its multiplier
    /// counts itself.
    JudgedResidual complementarity;

    [[nodiscard]] bool supports() const {
        return objective.supports && primal.supports && dual.supports && complementarity.supports;
    }
};

/// An optimum needs four small residuals. Infeasibility needs a primal residual that is not small.
/// Every other outcome needs a small primal residual, since it is about a feasible point. A
/// residual is small if it is within the tolerance, or within that part of the terms of its sum.
[[nodiscard]] Verdict judge(const StrictProblem& problem,
                            const SolveResult& result,
                            const SolverSettings& settings);

}  // namespace activeset::cli

#endif
