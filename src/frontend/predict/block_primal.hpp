// A primal active-set method for bounds and at most one equality that frees several variables a
// step.
#ifndef ACTIVESET_SRC_FRONTEND_PREDICT_BLOCK_PRIMAL_HPP
#define ACTIVESET_SRC_FRONTEND_PREDICT_BLOCK_PRIMAL_HPP

#include <optional>
#include <vector>

#include "frontend/core/control.hpp"
#include "frontend/predict/subproblem.hpp"
#include "frontend/problem/constraints.hpp"

namespace activeset::frontend {

/// Starts at a feasible point. Newton steps over the free variables F go as far as the bounds
/// allow, and variables that block become fixed, until the minimum over F is reached. Then the
/// fixed variables with the worst multipliers become free together. The objective falls in every
/// step, so the method ends also where exchanging all at once cycles, as it does for a nearly
/// singular H.
class BlockPrimal {
public:
    /// Whether there are only bounds and at most one row, an equality.
    [[nodiscard]] static bool suits(const ProblemData& data);

    /// @param x      the start, as far as bounds allow
    /// @param first  the bounds at which the start is, whatever x
    BlockPrimal(Subproblem& problem, const Vector& x, Constraints first, Control& control);

    /// True at a minimum: no multiplier has the wrong sign, but for rounding.
    [[nodiscard]] bool run();
    [[nodiscard]] std::size_t steps() const { return steps_; }
    /// After a success.
    [[nodiscard]] Constraints sides() const;

private:
    using List = std::vector<std::size_t>;
    enum class Step { Whole, Blocked, Stuck };

    [[nodiscard]] bool findFeasiblePoint();
    [[nodiscard]] bool isInside(std::size_t j) const {
        return data_.lower[j] < x_[j] && x_[j] < data_.upper[j];
    }
    [[nodiscard]] double entryOfRow(std::size_t j) const { return data_.m == 0 ? 0.0 : data_.A[j]; }
    [[nodiscard]] bool minimise();
    [[nodiscard]] Step takeStep();
    [[nodiscard]] Vector direction();
    [[nodiscard]] Step fixBlocked(const Vector& reach);
    [[nodiscard]] double chooseMultiplier() const;
    [[nodiscard]] List mostWrong() const;

    const ProblemData& data_;
    FreeSystem& system_;
    Control& control_;
    Constraints first_;
    Vector x_;
    Vector g_;      // H·x + c
    double y_ = 0;  // of the row
    List F_;        // ascending
    std::vector<bool> isFree_;
    std::size_t worst_ = 0;  // of those that were freed last
    std::size_t steps_ = 0;
};

}  // namespace activeset::frontend

#endif
