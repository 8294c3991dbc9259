// One solve by the front end, its result in the order of the file.
#ifndef ACTIVESET_CLI_PROVE_PROBLEM_HPP
#define ACTIVESET_CLI_PROVE_PROBLEM_HPP

#include "activeset/qp.hpp"
#include "cli/solve_problem.hpp"
#include "io/problem.hpp"

namespace activeset::cli {

struct ProvedResult {
    Result result;
    double objective = 0.0;  ///< with the sign of the file
    /// The same point, multipliers and counts, as the entry function has them.
    SolveResult solution;
    /// The Farkas vector in the order of SolveResult::lambda, empty without one. Times these the
    /// equalities, inequalities and bounds add up to 0 ≤ Farkas::value, which is negative.
    std::vector<double> farkas;

    /// Whether numbers of the result show what its status says.
    [[nodiscard]] bool isProved() const;
};

/// Solves from a start at zero.
///
/// @raises HostError
[[nodiscard]] ProvedResult proveProblem(const io::Problem& problem, const Settings& settings);

}  // namespace activeset::cli

#endif
