// The optimality conditions of a working set, as a solve has left them factorised.
#ifndef ACTIVESET_SRC_FRONTEND_PARAMETRIC_WORKING_SYSTEM_HPP
#define ACTIVESET_SRC_FRONTEND_PARAMETRIC_WORKING_SYSTEM_HPP

#include <memory>

#include "frontend/loop/problem_cache.hpp"
#include "frontend/predict/small_problem.hpp"

namespace activeset::frontend {

/// Factors whose squared pivots are smaller, relative to the largest, are replaced by orthogonal
/// ones.
inline constexpr double LeastSchurPivot = 1e-11;

/// K of a regular working set. May be used by several threads at once.
class WorkingSystem {
public:
    WorkingSystem() = default;
    WorkingSystem(const WorkingSystem&) = delete;
    WorkingSystem& operator=(const WorkingSystem&) = delete;
    virtual ~WorkingSystem() = default;

    /// Right-hand sides become the solution of H·x + Aᵀy + z = x, A·x = y on held rows, x = z on
    /// held bounds. y and z are 0 elsewhere, whatever was there.
    ///
    /// @param x  n entries
    /// @param y  m entries
    /// @param z  n entries
    virtual void solve(double* x, double* y, double* z) const = 0;
};

/// The factors of the small road, copied. Null where the working set is not regular or they are
/// nearly singular.
///
/// @param small  has just proved the optimum with this working set
[[nodiscard]] std::unique_ptr<const WorkingSystem> systemOf(const SmallProblem& small,
                                                            const WorkingSet& set);

/// The factors of a prediction, used where they are. Null where those that are there are of
/// another set, or nearly singular.
///
/// @param cache  outlives the system, and does not change
[[nodiscard]] std::unique_ptr<const WorkingSystem> systemOf(ProblemCache& cache,
                                                            const WorkingSet& set);

}  // namespace activeset::frontend

#endif
