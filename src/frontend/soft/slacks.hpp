// Soft sides as hard ones with slack variables: the same problem, in more variables.
#ifndef ACTIVESET_SRC_FRONTEND_SOFT_SLACKS_HPP
#define ACTIVESET_SRC_FRONTEND_SOFT_SLACKS_HPP

#include "frontend/soft/penalties.hpp"

namespace activeset::frontend {

/// The problem in (x, s): side number t of a list is a·x − s_t ≤ u or a·x + s_t ≥ l, s_t ≥ 0, and
/// the objective has linear·s_t + ½·quadratic·s_t². Bounds in the list are rows behind those of A.
/// Its numbers are those of the problem, so that what is proved of one is proved of the other.
class SlackProblem {
public:
    /// @param sides  ascending
    SlackProblem(const ProblemData& data, const Penalties& penalties, std::vector<SoftSide> sides);

    /// A point of the problem, y and z the multipliers of rows and bounds, as one of this problem;
    /// slacks[t] of side t.
    [[nodiscard]] Point extended(const Point& point, const Vector& slacks) const;
    /// The other way round: the multipliers of rows for bounds go to those.
    [[nodiscard]] Point restricted(Point point) const;
    /// The working set of the problem, from one of this problem and the slacks: a side with a
    /// positive slack is violated, of two sides that with the larger one.
    [[nodiscard]] WorkingSet restricted(const WorkingSet& set, const Vector& slacks) const;
    /// A point of this problem, its multipliers cut off at what the sides cost there.
    [[nodiscard]] Point capped(Point point) const;
    /// The slacks of a point of this problem.
    [[nodiscard]] Vector slacksOf(const Vector& x) const {
        return {x.begin() + static_cast<std::ptrdiff_t>(n_), x.end()};
    }

    ProblemData data;

private:
    void addColumns(const ProblemData& data, const Penalties& penalties);
    void addRows(const ProblemData& data);

    std::size_t n_;
    std::size_t m_;
    std::vector<SoftSide> sides_;
    std::vector<std::size_t> rowOf_;     ///< by side
    std::vector<std::size_t> variable_;  ///< by row behind those of A: whose bound it is
};

}  // namespace activeset::frontend

#endif
