// Directions along which a problem is unbounded.
#ifndef ACTIVESET_SRC_FRONTEND_PROOF_RAY_HPP
#define ACTIVESET_SRC_FRONTEND_PROOF_RAY_HPP

#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

/// A direction d along which no side is met, with H·d = Eᵀw for the equalities Ex = b. Along it the
/// gradient changes only by Eᵀw, and the objective by cᵀd + bᵀw per unit. If H is semidefinite,
/// H·d = 0 and w = 0.
struct Ray {
    Residual residual;        ///< the largest miss of sides and of H·d = Eᵀw
    bool meetsNoSide = true;  ///< but for rounding of d
    bool isFlat = true;       ///< dᵀHd is zero but for rounding of the entries of H
    double slope = 0.0;       ///< cᵀd + bᵀw
    double scale = 0.0;       ///< the size of the terms of it
    double missed = 0.0;  ///< Σ |H·d − Eᵀw|: at x the slope is another by up to this times |x|
};
[[nodiscard]] Ray judgeRay(const ProblemData& data, const Vector& direction);
/// Whether it proves the problem unbounded up to points far beyond the size `variable`.
[[nodiscard]] bool holds(const Ray& ray, double tolerance, double variable = 1.0);

/// Whether d misses, if by rounding alone, sides that nearly depend on one another: there may be no
/// direction nearby that meets them.
[[nodiscard]] bool isDoubtful(const ProblemData& data, const Vector& direction);

/// Whether entries of variables without bounds become zero where they may be rounding. They may
/// also belong to variables that are far smaller than others.
enum class SmallEntries { Kept, Zero };
/// Corrects a direction that nearly runs along sides so that it does.
[[nodiscard]] Vector alongSides(const ProblemData& data, Vector direction, SmallEntries small);

}  // namespace activeset::frontend

#endif
