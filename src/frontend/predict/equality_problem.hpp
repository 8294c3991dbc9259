// The minimum of a strictly convex objective where the members of a working set hold with equality.
#ifndef ACTIVESET_SRC_FRONTEND_PREDICT_EQUALITY_PROBLEM_HPP
#define ACTIVESET_SRC_FRONTEND_PREDICT_EQUALITY_PROBLEM_HPP

#include "frontend/predict/subproblem.hpp"
#include "frontend/problem/constraints.hpp"

namespace activeset::frontend {

/// H·x + c + Wᵀλ = 0, W·x = w, the rows of W those of the members of the subproblem's working
/// factor. With H = L·Lᵀ, G = L⁻¹Wᵀ and t = −L⁻¹c,
///
///     S·λ = Gᵀt − w,   S = GᵀG,   x = L⁻ᵀ(t − Gλ).
class EqualityProblem {
public:
    using List = NamedColumns::List;

    /// Keeps a reference to the subproblem, whose vectors must not change meanwhile.
    explicit EqualityProblem(Subproblem& problem);

    [[nodiscard]] const List& members() const { return working_.members(); }
    /// Makes the constraints of a list members, but for those that depend on others before them.
    void setMembers(const List& wanted);
    /// λ, one entry a member, for the sides at which they are held.
    void solve(const Constraints& sides, Vector& multipliers) const;
    /// x for these λ.
    [[nodiscard]] Vector minimiser(const Constraints& sides, const Vector& multipliers) const;
    /// The values, at the x for these λ, of constraints that were members.
    [[nodiscard]] Vector valuesOf(const List& constraints, const Vector& multipliers) const;
    /// Corrects both so that x meets the members' sides; `values` are those of all constraints.
    void moveToSides(const Constraints& sides,
                     const Vector& values,
                     Vector& x,
                     Vector& multipliers) const;
    /// Corrects both by the residuals of the equations, formed in extended precision.
    void refine(const Constraints& sides, Vector& x, Vector& multipliers) const;

    /// What constraint q has in common with the members.
    struct Dependence {
        Vector r;  ///< S⁻¹Gᵀg_q: if q depends on them, a_q = Wᵀr, entries of rounding being zero
        double own = 0.0;  ///< what the members leave of ‖g_q‖², 0 where q depends on them
    };
    [[nodiscard]] Dependence dependenceOf(std::size_t q);
    /// Corrects the entries of r that are not 0 by a_q − Wᵀr, formed in extended precision.
    void refineDependence(std::size_t q, Vector& r) const;

private:
    void setBounds(const Constraints& sides, Vector& x) const;
    void correct(Vector& x, Vector& multipliers, Vector gradient, const Vector& misses) const;
    void takeProducts(const List& constraints);

    const ProblemData& data_;
    const Dense& factor_;
    NamedColumns& columns_;
    WorkingFactor& working_;
    Vector t_;
    Vector products_;  // g_kᵀt of each constraint that was a member
};

/// y and z out of multipliers, one a constraint of the list.
[[nodiscard]] Point pointOf(const ProblemData& data,
                            const NamedColumns::List& constraints,
                            const Vector& multipliers,
                            Vector x);

}  // namespace activeset::frontend

#endif
