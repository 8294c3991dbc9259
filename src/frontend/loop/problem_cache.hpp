// A problem in all the forms that a solve needs, with what has been computed of it. It outlives the
// solve where a sequence of problems shares the matrices.
#ifndef ACTIVESET_SRC_FRONTEND_LOOP_PROBLEM_CACHE_HPP
#define ACTIVESET_SRC_FRONTEND_LOOP_PROBLEM_CACHE_HPP

#include <memory>
#include <optional>
#include <utility>

#include "frontend/core/control.hpp"
#include "frontend/core/core_form.hpp"
#include "frontend/loop/refinement.hpp"
#include "frontend/predict/subproblem.hpp"
#include "frontend/problem/scaling.hpp"
#include "frontend/proof/convexity.hpp"

namespace activeset::frontend {

class ProblemCache {
public:
    explicit ProblemCache(ProblemData problem);
    ProblemCache(const ProblemCache&) = delete;
    ProblemCache& operator=(const ProblemCache&) = delete;
    ~ProblemCache() = default;

    /// Takes over c, sides and bounds of a problem with the same matrices.
    void updateVectors(const ProblemData& problem);
    /// Forgets what depends on which problems with these matrices were solved before.
    void forget();

    /// Tested once; the direction is in the caller's variables.
    [[nodiscard]] const Convexity& convexity();
    /// 0 for a convex problem, else a δ with which H + δI is convex; infinite if none was found, or
    /// the control has ended the search.
    /// @param most  up to this part of ‖H‖_F, shifted() is the problem with that δ
    [[nodiscard]] double hessianShift(double most, Control& control);
    [[nodiscard]] ProblemCache* shifted() { return shifted_.get(); }
    /// The problem with the proximal weight ρ, or, for ρ = 0, itself; null unless H + ρI is safely
    /// positive definite. The last one with ρ > 0 is kept, and that with ρ = 0.
    [[nodiscard]] Subproblem* subproblem(double rho);
    /// The equations of a working set, factorised; the last ones are kept.
    [[nodiscard]] const Refinement& refinementOf(const WorkingSet& set);
    /// The constraints as the core takes them.
    [[nodiscard]] CoreForm& coreForm();
    void setCoreForm(CoreForm coreForm) { coreForm_ = std::move(coreForm); }
    /// H + ρI, n × n, for the core; empty when both are zero.
    [[nodiscard]] Vector& hessianPlus(double rho);
    /// Objective and violation at a point in scaled variables, for the callback.
    [[nodiscard]] Progress progressAt(const double* x) const;

    ProblemData user;
    Scaling scaling;
    ProblemData scaled;

private:
    std::optional<CoreForm> coreForm_;
    std::optional<Convexity> convexity_;
    double shift_ = 0.0;  ///< 0 until one was sought to the end
    std::unique_ptr<ProblemCache> shifted_;
    std::optional<Subproblem> itself_;
    std::optional<Subproblem> proximal_;
    std::optional<Refinement> refinement_;
    std::optional<LargeVector> hessian_;
    double hessianRho_ = 0.0;
};

}  // namespace activeset::frontend

#endif
