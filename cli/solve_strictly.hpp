// Solves one file by the bare entry function.
#ifndef ACTIVESET_CLI_SOLVE_STRICTLY_HPP
#define ACTIVESET_CLI_SOLVE_STRICTLY_HPP

#include <string>

#include "cli/batch.hpp"
#include "cli/solve_options.hpp"
#include "io/model.hpp"

namespace activeset::cli {

/// Prints the heading and the table on standard output, and puts the rest into `outcome`.
/// @raises HostError
void solveStrictly(io::Model content,
                   const std::string& file,
                   const SolveOptions& options,
                   FileOutcome& outcome);

}  // namespace activeset::cli

#endif
