// Directions along which a problem is unbounded.
#ifndef ACTIVESET_SRC_FRONTEND_PROOF_RAY_HPP
#define ACTIVESET_SRC_FRONTEND_PROOF_RAY_HPP

#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

/// A direction d that no side ends, with H·d = Eᵀw, E the equalities, Ex = b: along it the gradient
/// changes only by what the equalities take, and the objective by cᵀd + bᵀw for every unit. Where H
/// is semidefinite H·d = 0 and w = 0.
struct Ray {
    Residual residual;        ///< the largest miss of sides and of H·d = Eᵀw
    bool meetsNoSide = true;  ///< but for rounding of d
    bool isFlat = true;       ///< dᵀHd is zero but for rounding of the entries of H
    double slope = 0.0;       ///< cᵀd + bᵀw
    double scale = 0.0;       ///< the size of the terms of it
    double missed = 0.0;  ///< Σ |H·d − Eᵀw|: by so much times |x| the slope is another at x
};
[[nodiscard]] Ray judgeRay(const ProblemData& data, const Vector& direction);
/// Whether it is one for points of the size `variable` and far beyond.
[[nodiscard]] bool holds(const Ray& ray, double tolerance, double variable = 1.0);

/// Takes off a direction what it misses of the sides that it nearly runs along.
[[nodiscard]] Vector alongSides(const ProblemData& data, Vector direction);

}  // namespace activeset::frontend

#endif
