// Whether the objective is convex on the null space of the equalities, and a direction that shows
// that it is not.
#ifndef ACTIVESET_SRC_FRONTEND_PROOF_CONVEXITY_HPP
#define ACTIVESET_SRC_FRONTEND_PROOF_CONVEXITY_HPP

#include "frontend/algebra/dense.hpp"
#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

/// H on the null space of the equalities.
struct Convexity {
    enum Kind {
        None,          ///< not convex: a direction of negative curvature was found
        Semidefinite,  ///< as far as rounding tells; singular or nearly so
        Strict         ///< H itself is positive definite
    };
    Kind kind = Strict;
    Vector direction;  ///< in the variables of the data
};

/// Says not convex only with a direction that was judged in extended precision: the equalities hold
/// along it, and the curvature is negative beyond the rounding of ‖H‖·‖d‖².
[[nodiscard]] Convexity convexityOf(const ProblemData& data);

/// H on the null space of the equalities, in the variables of an orthonormal basis of it.
struct ReducedHessian {
    Dense hessian;
    Vector direction;  ///< in the same variables
};
/// @param direction  along which the equalities hold, in the variables of the data
[[nodiscard]] ReducedHessian reducedHessian(const ProblemData& data, const Vector& direction);

/// dᵀHd, in proportion to Σ |d_i·H_ij·d_j|.
[[nodiscard]] Residual curvature(const ProblemData& data, const Vector& direction);

}  // namespace activeset::frontend

#endif
