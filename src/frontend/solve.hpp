// What solve() and Solver share: one solve of checked data, and its answer as a result.
#ifndef ACTIVESET_SRC_FRONTEND_SOLVE_HPP
#define ACTIVESET_SRC_FRONTEND_SOLVE_HPP

#include "frontend/core/control.hpp"
#include "frontend/loop/problem_cache.hpp"

namespace activeset::frontend {

/// std::logic_error inside a solve of the same thread.
void requireNoSolve();

/// Whether the objective at the point of a solve that ended so is one of the problem.
[[nodiscard]] constexpr bool hasObjective(Status status) {
    return status != Status::Infeasible && status != Status::NotConvex &&
           status != Status::Invalid && status != Status::Failed;
}

/// The result of data that cannot be solved.
[[nodiscard]] Result invalid(std::vector<Fault> faults);

/// Enough passes for any sound problem of this size.
[[nodiscard]] std::size_t automaticLimit(std::size_t n, std::size_t m);

/// @param x  in the caller's variables; of any length and with any entries, what is missing is 0
[[nodiscard]] Result solvePrepared(ProblemCache& problem,
                                   Vector x,
                                   const WorkingSet& set,
                                   const Settings& settings,
                                   Control& control);

/// The same, with H + δI in the place of H where H misses convexity by no more than the settings
/// allow. The objective is that of H itself.
[[nodiscard]] Result solveConvexified(ProblemCache& problem,
                                      Vector x,
                                      const WorkingSet& set,
                                      const Settings& settings,
                                      Control& control);

}  // namespace activeset::frontend

#endif
