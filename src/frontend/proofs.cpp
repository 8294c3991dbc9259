// Proofs of what cannot be solved.
#include "frontend/proofs.hpp"

#include <cmath>
#include <utility>

#include "frontend/algebra/dense.hpp"
#include "frontend/proof/farkas.hpp"
#include "frontend/proof/ray.hpp"
#include "frontend/proof/units.hpp"

namespace activeset::frontend {

namespace {

constexpr double ProofTolerance = 1e-9;  // of Farkas vectors, relative
constexpr double RayTolerance = 1e-12;   // of rays, which are refined

}  // namespace

// No proof in view of a point that satisfies the constraints and is within the radius for them.
static bool isRefuted(const Farkas& farkas, const Prepared& problem, const Answer& answer) {
    if (answer.point.x.empty() ||
        !(answer.judgement.certificate.primal.relative <= ProofTolerance)) {
        return false;
    }
    double size = 0.0;
    for (const double entry : problem.scaling.unscaled({answer.point.x, {}, {}}).x) {
        size += std::abs(entry);
    }
    return size >= 0.5 * farkas.radius;
}

bool provesInfeasibility(const Prepared& problem, Vector y, Answer& answer) {
    Farkas farkas =
        judgeFarkas(problem.user, problem.scaling.unscaled({Vector(), std::move(y), Vector()}).y);
    if (!holds(farkas, ProofTolerance, leastSize(problem.user)) ||
        isRefuted(farkas, problem, answer)) {
        return false;
    }
    answer.farkas = std::move(farkas);
    return true;
}

bool provesUnboundedness(const Prepared& problem, const Vector& direction, Answer& answer) {
    Vector users = alongSides(problem.scaled, direction);
    users = problem.scaling.unscaled({std::move(users), {}, {}}).x;
    const double length = largestMagnitude(users);
    if (!(length > 0.0 && length < Infinity)) {
        return false;
    }
    // The largest entry becomes 1 where that leaves the proof as it is; a power of two always does.
    for (const double unit : {length, std::ldexp(1.0, std::ilogb(length))}) {
        Vector candidate = users;
        for (double& entry : candidate) {
            entry /= unit;
        }
        const Ray ray = judgeRay(problem.user, candidate);
        if (holds(ray, RayTolerance, leastSize(problem.user))) {
            answer.direction = std::move(candidate);
            answer.directionResidual = ray.residual;
            return true;
        }
    }
    return false;
}

void decideBySides(const Prepared& problem, Answer& answer) {
    const Data& data = problem.scaled;
    for (std::size_t i = 0; i < data.m; ++i) {
        if (data.rowLower[i] > 0.0 || data.rowUpper[i] < 0.0) {
            Vector y(data.m, 0.0);
            y[i] = data.rowLower[i] > 0.0 ? -1.0 : 1.0;
            answer.status = Status::Infeasible;
            static_cast<void>(provesInfeasibility(problem, std::move(y), answer));
            return;
        }
    }
}

}  // namespace activeset::frontend
