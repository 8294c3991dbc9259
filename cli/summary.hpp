// The result of a model in words.
#ifndef ACTIVESET_CLI_SUMMARY_HPP
#define ACTIVESET_CLI_SUMMARY_HPP

#include <string>

#include "cli/solve_model.hpp"
#include "io/model.hpp"

namespace activeset::cli {

/// "FILE: NAME, 3 variables, 2 rows", line end included.
[[nodiscard]] std::string headingText(const io::Model& model, const std::string& file);

/// The outcome and what supports it, one fact a line.
[[nodiscard]] std::string summaryText(const io::Model& model, const Solution& solution);

/// Point and multipliers by name, or what proves that there is no optimum.
[[nodiscard]] std::string solutionText(const io::Model& model, const Solution& solution);

/// The ray or the direction of negative curvature by name.
[[nodiscard]] std::string directionText(const io::Model& model, const Solution& solution);

/// The members of the conflict in words.
[[nodiscard]] std::string conflictText(const io::Model& model, const Conflict& conflict);

/// Names and values, one a line, the values one below the other.
[[nodiscard]] std::string valuesText(const std::vector<std::string>& names,
                                     const std::vector<double>& values);

}  // namespace activeset::cli

#endif
