// The road of small strictly convex problems, from the caller's views to a proved result.
#ifndef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_PROBLEM_HPP
#define ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_PROBLEM_HPP

#include <optional>

#include "frontend/core/control.hpp"
#include "frontend/predict/small_data.hpp"
#include "frontend/predict/small_dual.hpp"

namespace activeset::frontend {

/// Solves what it can prove; all else, whatever the reason, is for the general road.
class SmallProblem {
public:
    SmallProblem() = default;
    SmallProblem(const SmallProblem&) = delete;
    SmallProblem& operator=(const SmallProblem&) = delete;
    ~SmallProblem() = default;

    /// The result of a problem by itself, if its optimum or that it has no feasible point was
    /// proved.
    [[nodiscard]] std::optional<Result> solve(const Problem& problem,
                                              const Settings& settings,
                                              Control& control);

    /// The next of a sequence, which has no faults; what did not change is kept.
    /// @param set  where to begin; without one, where the last solve has ended, if that was here
    [[nodiscard]] std::optional<Result> solveNext(const Problem& problem,
                                                  bool haveMatricesChanged,
                                                  const WorkingSet* set,
                                                  const Settings& settings,
                                                  Control& control);

    /// That of the thread; its memory, at most a mebibyte, goes with the thread.
    [[nodiscard]] static SmallProblem& ofThread();
    /// Whether settings leave it to the front end how it solves.
    [[nodiscard]] static bool suits(const Settings& settings);

private:
    [[nodiscard]] bool load(const Problem& problem);
    [[nodiscard]] std::optional<Result> minimise(const Problem& problem,
                                                 const Settings& settings,
                                                 Control& control);
    [[nodiscard]] std::optional<Result> proveOptimum(const Problem& problem,
                                                     const Settings& settings);

    SmallMemory memory_;
    SmallExtent extent_;
    SmallDual dual_{memory_};
    enum class Matrices { Unknown, Unfit, Ready };
    Matrices matrices_ = Matrices::Unknown;
    bool hasEnded_ = false;  ///< at an optimum, whose working set is still factorised
};

}  // namespace activeset::frontend

#endif
