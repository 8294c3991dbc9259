// One call of the entry function for a model, with vectors instead of host arrays.
#ifndef ACTIVESET_CLI_SOLVE_PROBLEM_HPP
#define ACTIVESET_CLI_SOLVE_PROBLEM_HPP

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "activeset/one_sided.hpp"
#include "io/model.hpp"

namespace activeset::cli {

/// A model with its rows as the entry function takes them.
struct StrictProblem {
    explicit StrictProblem(io::Model content)
        : model(std::move(content)), rows(oneSidedRows(io::viewsOf(model))) {}

    io::Model model;
    OneSidedRows rows;

    [[nodiscard]] std::size_t n() const noexcept { return model.n(); }
    [[nodiscard]] std::size_t mIneq() const noexcept { return rows.b.size(); }
    [[nodiscard]] std::size_t mEq() const noexcept { return rows.beq.size(); }
};

struct SolverSettings {
    std::optional<int> maxIter;  ///< else 10·(variables + rows), at least 200
    double tolCon = 1e-6;
    double tolFun = 1e-6;
    double tolX = 1e-6;
    std::string display = "iter";
};

struct SolveResult {
    int code = 0;            ///< the outcome, see docs/states.md
    std::vector<double> x;   ///< n
    double objective = 0.0;  ///< of the minimum, without the constant, as the solver reports it
    /// mEq + mIneq + 2·n: equalities, inequalities, lower bounds, upper bounds, with
    /// H·x + c + Aeqᵀλeq + Aᵀλineq − λlower + λupper = 0.
    std::vector<double> lambda;
    int maxIter = 0;  ///< the limit that was in force
    int iterations = 0;
    int phaseOneIterations = 0;
    bool phaseOneRan = false;
    bool interrupted = false;  ///< a stop had been asked for by the time the solve ended
    // Sizes of the final working set.
    std::size_t activeEqualities = 0;
    std::size_t activeInequalities = 0;
    std::size_t activeLower = 0;
    std::size_t activeUpper = 0;
};

/// Solves from a start at zero with an empty working set. The entry function prints its table on
/// standard output.
///
/// @param problem  not changed; it is not const because it is lent to host arrays
/// @raises HostError
[[nodiscard]] SolveResult solveProblem(StrictProblem& problem, const SolverSettings& settings);

}  // namespace activeset::cli

#endif
