// Farkas vectors and rays, in the caller's variables.
#include "frontend/loop/caller_proofs.hpp"

#include <cmath>
#include <utility>

#include "frontend/algebra/dense.hpp"
#include "frontend/proof/farkas.hpp"
#include "frontend/proof/ray.hpp"
#include "frontend/proof/units.hpp"

namespace activeset::frontend {

namespace {

constexpr double RayTolerance = 1e-12;  // residual of a ray, which is refined, relative

// Whether the best point contradicts the proof: it is feasible, and within the radius.
bool isRefuted(const Farkas& farkas, const ProblemCache& problem, const BestPoint& best) {
    if (best.isEmpty() || !(best.judgement().certificate.primal.relative <= FarkasTolerance)) {
        return false;
    }
    double size = 0.0;
    for (const double entry : problem.scaling.unscaledVariables(best.point().x)) {
        size += std::abs(entry);
    }
    return size >= 0.5 * farkas.radius;
}

// Scaled to a largest entry of 1 if that keeps the proof; a power of two always keeps it.
std::optional<ProvenRay> scaledToProof(const ProblemData& users, const Vector& direction) {
    const double length = largestMagnitude(direction);
    if (!(length > 0.0 && length < Infinity)) {
        return std::nullopt;
    }
    for (const double unit : {length, std::ldexp(1.0, std::ilogb(length))}) {
        Vector candidate = direction;
        for (double& entry : candidate) {
            entry /= unit;
        }
        const Ray ray = judgeRay(users, candidate);
        if (holds(ray, RayTolerance, leastSize(users))) {
            return ProvenRay{std::move(candidate), ray.residual};
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<Farkas> provenFarkas(const ProblemCache& problem, Vector y, const BestPoint& best) {
    Farkas farkas =
        judgeFarkas(problem.user, problem.scaling.unscaled({Vector(), std::move(y), Vector()}).y);
    if (!holds(farkas, FarkasTolerance, leastSize(problem.user)) ||
        isRefuted(farkas, problem, best)) {
        return std::nullopt;
    }
    return farkas;
}

std::optional<Farkas> provenFarkasFar(const ProblemCache& problem,
                                      Vector y,
                                      const BestPoint& best) {
    std::optional<Farkas> farkas = provenFarkas(problem, std::move(y), best);
    if (farkas && !holdsFar(*farkas, leastSize(problem.user))) {
        farkas.reset();
    }
    return farkas;
}

std::optional<ProvenRay> provenRay(const ProblemCache& problem, const Vector& direction) {
    for (const SmallEntries small : {SmallEntries::Kept, SmallEntries::Zero}) {
        std::optional<ProvenRay> ray = scaledToProof(
            problem.user,
            problem.scaling.unscaledVariables(alongSides(problem.scaled, direction, small)));
        if (ray) {
            return ray;
        }
    }
    return std::nullopt;
}

}  // namespace activeset::frontend
