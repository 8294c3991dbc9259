// What points, multipliers, Farkas vectors and directions are worth, computed from the problem's
// data in extended precision. Nothing that the solver believes enters.
#ifndef ACTIVESET_SRC_FRONTEND_CERTIFICATE_HPP
#define ACTIVESET_SRC_FRONTEND_CERTIFICATE_HPP

#include "frontend/data.hpp"
#include "frontend/sums.hpp"

namespace activeset::frontend {

/// Multipliers become zero where the side that they would stand for is absent.
void project(const Data& data, Point& point);

struct Judgement {
    Certificate certificate;
    double objective = 0.0;  ///< constant included
    double signedGap = 0.0;  ///< primal minus dual objective
};

/// Of the point as project() would leave it.
[[nodiscard]] Judgement judge(const Data& data, const Point& point);

/// The largest violation of a row or bound.
[[nodiscard]] Residual violation(const Data& data, const Vector& x);

/// Σ y⁺·rowUpper − … with the residual of Aᵀy + z; holds when `holds` says so.
[[nodiscard]] Farkas judgeFarkas(const Data& data, Vector y, Vector z);
/// @param variable  how large variables are
[[nodiscard]] bool holds(const Farkas& farkas, double tolerance, double variable = 1.0);
/// So large, at least, by what the data tell; never less than 1.
[[nodiscard]] double leastSize(const Data& data);

/// A direction along which the problem is unbounded: H·d = 0, no side is ever reached, cᵀd < 0.
struct Ray {
    Residual residual;   ///< the largest miss of the first two
    double slope = 0.0;  ///< cᵀd
    double scale = 0.0;  ///< Σ |c_j·d_j|
};
[[nodiscard]] Ray judgeRay(const Data& data, const Vector& direction);
[[nodiscard]] bool holds(const Ray& ray, double tolerance);

/// dᵀHd, in proportion to Σ |d_i·H_ij·d_j|.
[[nodiscard]] Residual curvature(const Data& data, const Vector& direction);

}  // namespace activeset::frontend

#endif
