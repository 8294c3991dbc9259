// The least-squares problem that is left in the null space of a working set.
#ifndef ACTIVESET_SRC_FRONTEND_FIT_NULL_SPACE_FIT_HPP
#define ACTIVESET_SRC_FRONTEND_FIT_NULL_SPACE_FIT_HPP

#include <vector>

#include "frontend/algebra/dense.hpp"
#include "frontend/algebra/pivoted_qr.hpp"
#include "frontend/fit/fit_data.hpp"
#include "frontend/problem/constraints.hpp"

namespace activeset::frontend {

/// Orthogonal factors for one working set. Held variables are taken out; with F the others and
/// A_WF the held rows,
///
///     A_WFᵀ = Q·S·Pᵀ,   x_F = x₀ + Q₁·S⁻ᵀ(side − A_W·x₀) + Z·v,   v = argmin ‖T_F·Z·v − (t −
///     T·x)‖.
class NullSpaceFit {
public:
    /// Keeps references to fit and constraints. Takes rows that depend on others out of `held`.
    NullSpaceFit(const Fit& fit, const ProblemData& constraints, Constraints& held);

    /// Moves x to the minimum on the working set.
    void moveToMinimum(Vector& x) const;
    /// Corrects such an x, and the residual ρ beside it, by
    ///
    ///     ρ + R·x = s,   Zᵀ·R_Fᵀρ = 0
    ///
    /// whose residuals are formed in extended precision.
    void refine(Vector& x) const;
    /// Multipliers of the working set at x: y by least squares on F, z from the rest of the
    /// gradient.
    void setMultipliers(Point& point) const;
    /// A bound for the rounding error of each entry of the gradient.
    [[nodiscard]] Vector noiseOfGradient(const Vector& x) const;

private:
    [[nodiscard]] Dense reducedFit() const;
    void keepIndependent(Constraints& held);
    void moveToSides(Vector& x) const;
    [[nodiscard]] Vector fromNullSpace(const Vector& v) const;
    [[nodiscard]] Vector toNullSpace(const Vector& ofVariables) const;
    [[nodiscard]] Vector correction(Vector& residual, Vector left, const Vector& slope) const;

    const Fit& fit_;
    const ProblemData& constraints_;
    std::vector<std::size_t> free_;      // variables
    std::vector<std::size_t> heldRows_;  // the dependent ones among them
    Constraints held_;                   // without those
    PivotedQr rows_;
    Dense basis_;  // Z; empty without rows, where it is the identity
    PivotedQr reduced_;
};

}  // namespace activeset::frontend

#endif
