// The best point that a solve has met, with its judgement.
#ifndef ACTIVESET_SRC_FRONTEND_LOOP_BEST_POINT_HPP
#define ACTIVESET_SRC_FRONTEND_LOOP_BEST_POINT_HPP

#include <limits>

#include "frontend/core/control.hpp"
#include "frontend/loop/problem_cache.hpp"
#include "frontend/proof/certificate.hpp"

namespace activeset::frontend {

/// Points are in scaled variables; they are judged by the caller's data.
class BestPoint {
public:
    BestPoint(ProblemCache& problem, const Settings& settings, Control& control)
        : problem_(problem), settings_(settings), control_(control) {}

    /// Keeps the point if its largest relative residual is smaller.
    void consider(Point point, const WorkingSet& set);
    /// Considers a point without multipliers, and without a working set.
    void considerWithoutMultipliers(Vector x, const WorkingSet& set = {});
    /// Considers the solution of the equations of the set, sought from the point.
    void considerRefined(Point point, const WorkingSet& set);
    /// Considers the point, and unless it is exact the refined one.
    void polish(Point point, const WorkingSet& set);
    /// Polishes; then keeps the point if it misses its sides by less and is solved as far as
    /// doubles can.
    void polishSides(Point point, const WorkingSet& set);
    /// Considers the solution of the best point's set with all curvature, also such as elsewhere
    /// counts as none because it may be rounding.
    void considerAlongFlat();
    /// Makes the next point that is considered the best.
    void forget() { point_.x.clear(); }
    /// Raises the relative gap of the point to `relative`, where more is known of its error than
    /// its residuals tell.
    void widenGap(double relative);

    [[nodiscard]] bool isEmpty() const { return point_.x.empty(); }
    /// Proved to the tolerance of the settings.
    [[nodiscard]] bool isProved() const;
    /// Proved, and solved as far as doubles can.
    [[nodiscard]] bool isExact() const;

    [[nodiscard]] const Point& point() const { return point_; }
    /// The point in the caller's variables, as it was judged: settle() has seen it.
    [[nodiscard]] const Point& usersPoint() const { return usersPoint_; }
    [[nodiscard]] const WorkingSet& set() const { return set_; }
    [[nodiscard]] const Judgement& judgement() const { return judgement_; }
    /// Corrections made by refinement.
    [[nodiscard]] std::size_t corrections() const { return corrections_; }

private:
    /// Keeps the point if `isTaken` says so of its judgement and the best one's.
    template <class IsTaken>
    void take(Point point, const WorkingSet& set, IsTaken isTaken);
    /// Leaves the point, which is given in the caller's variables as well, settled there.
    [[nodiscard]] Judgement judged(const Point& point, const WorkingSet& set, Point& users);

    ProblemCache& problem_;
    const Settings& settings_;
    Control& control_;
    Point point_;
    Point usersPoint_;
    WorkingSet set_;
    Judgement judgement_;
    std::size_t corrections_ = 0;
};

/// A relative violation that may be the rounding of x, and of data that agree but for rounding.
inline constexpr double FeasibleToRounding = 8.0 * std::numeric_limits<double>::epsilon();
/// The relative residuals of a point that is solved as far as doubles can.
inline constexpr double ExactToRounding = 1e-12;

}  // namespace activeset::frontend

#endif
