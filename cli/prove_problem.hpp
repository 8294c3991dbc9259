// One solve by the front end, its result in the order of the file.
#ifndef ACTIVESET_CLI_PROVE_PROBLEM_HPP
#define ACTIVESET_CLI_PROVE_PROBLEM_HPP

#include "activeset/qp.hpp"
#include "cli/solve_problem.hpp"
#include "io/problem.hpp"

namespace activeset::cli {

struct ProvedResult {
    Result result;
    SolveResult
        solution;  ///< the same point, multipliers and counts, as the entry function has them
};

/// Solves from a start at zero.
///
/// @raises HostError
[[nodiscard]] ProvedResult proveProblem(const io::Problem& problem, const Settings& settings);

}  // namespace activeset::cli

#endif
