// A strictly convex problem with the factor of its Hessian: the problem itself, or a step of the
// proximal-point loop.
#ifndef ACTIVESET_SRC_FRONTEND_PREDICT_SUBPROBLEM_HPP
#define ACTIVESET_SRC_FRONTEND_PREDICT_SUBPROBLEM_HPP

#include <optional>

#include "frontend/algebra/dense.hpp"
#include "frontend/predict/free_system.hpp"
#include "frontend/predict/working_factor.hpp"
#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

/// Refinement of a prediction ends with a correction of residuals up to this, in proportion to
/// their terms: it leaves nothing but rounding.
inline constexpr double SmallResidual = 1e-11;

/// c − ρ·centre, the linear term of ½xᵀHx + cᵀx + ½ρ‖x − centre‖².
[[nodiscard]] Vector proximalSlope(const ProblemData& data, double rho, const Vector& centre);

/// ½xᵀHx + cᵀx + ½ρ‖x − centre‖² under the constraints of a problem. What is formed of the matrices
/// stays valid while only vectors of the problem, and the centre, change.
class Subproblem {
public:
    /// Keeps a reference to the problem, whose matrices must not change.
    Subproblem(const ProblemData& problem, double rho);
    Subproblem(const Subproblem&) = delete;
    Subproblem& operator=(const Subproblem&) = delete;
    ~Subproblem() = default;

    [[nodiscard]] double rho() const { return rho_; }
    /// Whether H + ρI is safely positive definite; nothing below may be asked of it otherwise.
    [[nodiscard]] bool isDefinite() const { return isDefinite_; }
    /// Takes over the vectors of the problem and the centre, which counts for ρ > 0 only.
    void setCentre(const Vector& centre);
    /// Keeps the factor, and forgets the constraints that were looked at.
    void forget();

    [[nodiscard]] const ProblemData& data() const { return rho_ > 0.0 ? shifted_ : problem_; }
    /// The lower Cholesky factor L of H + ρI.
    [[nodiscard]] const Dense& factor() const { return factor_; }
    [[nodiscard]] NamedColumns& columns() { return sets_->columns; }
    [[nodiscard]] WorkingFactor& working() { return sets_->working; }
    [[nodiscard]] FreeSystem& freeSystem() { return sets_->free; }
    /// 1/√(Σ a_j²/H_jj) for each constraint a, 1 for one without entries: the inverse of an
    /// estimate of its length in the norm of H⁻¹. Violations times their weights can be compared.
    [[nodiscard]] const Vector& weights();

private:
    const ProblemData& problem_;
    double rho_;
    ProblemData shifted_;  // for ρ > 0
    Dense factor_;
    bool isDefinite_;
    struct Sets {
        Sets(const ProblemData& data, const Dense& factor)
            : columns(data, factor), working(columns), free(data) {}
        NamedColumns columns;
        WorkingFactor working;
        FreeSystem free;
    };
    std::optional<Sets> sets_;
    Vector weights_;
};

}  // namespace activeset::frontend

#endif
