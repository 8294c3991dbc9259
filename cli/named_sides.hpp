// The names that a file has for the multipliers of one-sided rows and bounds.
#ifndef ACTIVESET_CLI_NAMED_SIDES_HPP
#define ACTIVESET_CLI_NAMED_SIDES_HPP

#include <string>
#include <vector>

#include "cli/solve_problem.hpp"

namespace activeset::cli {

/// Calls `visit` with kind, name and multiplier of every side. `multipliers` are in the order of
/// SolveResult::lambda; if there are none, no side is visited.
template <class Visit>
void visitMultipliers(const StrictProblem& problem,
                      const std::vector<double>& multipliers,
                      Visit visit) {
    if (multipliers.empty()) {
        return;
    }
    auto lambda = multipliers.begin();
    const auto& [model, rows] = problem;
    for (const std::size_t row : rows.equalities) {
        visit("equality", model.rows[row], *lambda++);
    }
    for (const RowSide& side : rows.inequalities) {
        visit(side.isUpper ? "upper side" : "lower side", model.rows[side.row], *lambda++);
    }
    for (const char* const kind : {"lower bound", "upper bound"}) {
        for (const std::string& name : model.variables) {
            visit(kind, name, *lambda++);
        }
    }
}

}  // namespace activeset::cli

#endif
