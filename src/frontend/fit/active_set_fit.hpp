// The primal active-set method on a fit, each step of which is a least-squares problem in the null
// space of the working set, so that the condition of the fit is never squared.
#ifndef ACTIVESET_SRC_FRONTEND_FIT_ACTIVE_SET_FIT_HPP
#define ACTIVESET_SRC_FRONTEND_FIT_ACTIVE_SET_FIT_HPP

#include <optional>

#include "frontend/core/control.hpp"
#include "frontend/fit/null_space_fit.hpp"

namespace activeset::frontend {

class ActiveSetFit {
public:
    /// Begins at a feasible point and a guess of the working set, which mostly is right.
    /// Keeps references to fit, constraints and control.
    ActiveSetFit(const Fit& fit,
                 const ProblemData& constraints,
                 Control& control,
                 Vector x,
                 const WorkingSet& guess);

    /// True if the optimality conditions hold, but for rounding.
    bool run();

    [[nodiscard]] const Point& point() const { return point_; }
    [[nodiscard]] WorkingSet workingSet() const { return held_.workingSet(); }

private:
    struct Blocking {
        std::size_t constraint = 0;
        double length = 1.0;
        Side side = Side::None;
    };
    [[nodiscard]] std::optional<Blocking> ratioTest(const Vector& step) const;
    [[nodiscard]] std::optional<std::size_t> wrongSign(const NullSpaceFit& fit) const;
    void finish(const NullSpaceFit& fit);
    void advance(const Vector& step, double length);
    void reportPass(double step);

    const Fit& fit_;
    const ProblemData& constraints_;
    Control& control_;
    Point point_;
    Constraints held_;
};

}  // namespace activeset::frontend

#endif
