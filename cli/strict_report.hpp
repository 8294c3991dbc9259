// The result of the bare entry function, for people and for programs.
#ifndef ACTIVESET_CLI_STRICT_REPORT_HPP
#define ACTIVESET_CLI_STRICT_REPORT_HPP

#include <string>

#include "cli/solve_problem.hpp"
#include "cli/verdict.hpp"

namespace activeset::cli {

/// As ResultSchema. Multipliers are those of rows with one side and of bounds; only equalities have
/// negative ones.
inline constexpr const char* StrictSchema = "activeset-strict-result/1";

/// The outcome in words, without its code.
[[nodiscard]] std::string outcomeText(const SolveResult& result);

/// The lines below the table, a blank line at the end.
[[nodiscard]] std::string strictSummaryText(const StrictProblem& problem,
                                            const SolveResult& result,
                                            const Verdict& verdict);

/// Point and multipliers by name, one a line, a blank line at the end.
[[nodiscard]] std::string strictSolutionText(const StrictProblem& problem,
                                             const SolveResult& result);

/// One JSON object in one line, without line end.
[[nodiscard]] std::string strictJsonText(const StrictProblem& problem,
                                         const std::string& file,
                                         const SolveResult& result,
                                         const Verdict& verdict);

}  // namespace activeset::cli

#endif
