// The result of a solve, for people and for programs.
#ifndef ACTIVESET_CLI_REPORT_HPP
#define ACTIVESET_CLI_REPORT_HPP

#include <string>

#include "cli/prove_problem.hpp"
#include "cli/solve_problem.hpp"
#include "cli/verdict.hpp"
#include "io/problem.hpp"

namespace activeset::cli {

/// The outcome in words, without its code.
[[nodiscard]] std::string outcomeText(const SolveResult& result);

/// The line above a solve's table, line end included.
[[nodiscard]] std::string headingText(const io::Problem& problem, const std::string& file);

/// The lines below it, a blank line at the end.
[[nodiscard]] std::string summaryText(const io::Problem& problem,
                                      const SolveResult& result,
                                      const Verdict& verdict);

/// The lines for a solve by the front end, a blank line at the end.
[[nodiscard]] std::string summaryText(const io::Problem& problem, const ProvedResult& proved);

/// Point and multipliers by name, one a line, a blank line at the end.
[[nodiscard]] std::string solutionText(const io::Problem& problem, const SolveResult& result);

/// Likewise; where there is no optimum what proves that takes the place of the multipliers.
[[nodiscard]] std::string solutionText(const io::Problem& problem, const ProvedResult& proved);

/// One JSON object in one line, line end included; vectors only if `withSolution`.
[[nodiscard]] std::string jsonText(const io::Problem& problem,
                                   const std::string& file,
                                   const SolveResult& result,
                                   const Verdict& verdict,
                                   bool withSolution);

[[nodiscard]] std::string jsonText(const io::Problem& problem,
                                   const std::string& file,
                                   const ProvedResult& proved,
                                   bool withSolution);

/// The same for a file without a result.
[[nodiscard]] std::string jsonErrorText(const std::string& file, const std::string& message);

}  // namespace activeset::cli

#endif
