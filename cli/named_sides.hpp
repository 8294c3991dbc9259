// The names that a file has for the multipliers of its dense form.
#ifndef ACTIVESET_CLI_NAMED_SIDES_HPP
#define ACTIVESET_CLI_NAMED_SIDES_HPP

#include <string>
#include <vector>

#include "io/problem.hpp"

namespace activeset::cli {

/// Calls `visit` with kind, name and multiplier of every side, in the order of
/// SolveResult::lambda, which `multipliers` has, too, unless there are none.
template <class Visit>
void visitMultipliers(const io::Problem& problem,
                      const std::vector<double>& multipliers,
                      Visit visit) {
    if (multipliers.empty()) {
        return;
    }
    auto lambda = multipliers.begin();
    for (const std::string& name : problem.equalityNames) {
        visit("equality", name, *lambda++);
    }
    for (const io::InequalityOrigin& origin : problem.inequalities) {
        visit(origin.upper ? "upper side" : "lower side", origin.row, *lambda++);
    }
    for (const char* const kind : {"lower bound", "upper bound"}) {
        for (const std::string& name : problem.variableNames) {
            visit(kind, name, *lambda++);
        }
    }
}

}  // namespace activeset::cli

#endif
