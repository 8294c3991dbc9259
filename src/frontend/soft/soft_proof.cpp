// The proof is that of the problem with slack variables for the violated sides alone: a slack of 0
// takes no part in the objective, and its multiplier, penalty minus |y|, has the right sign as long
// as |y| is not above the penalty. No multiplier of the front end enters unprojected.
#include "frontend/soft/soft_proof.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "frontend/soft/slacks.hpp"

namespace activeset::frontend {

namespace {

double& multiplierOf(Point& point, std::size_t m, std::size_t k) {
    return k < m ? point.y[k] : point.z[k - m];
}

/// What the penalties let a multiplier be where nothing is violated.
double capped(double multiplier, const SidePenalty& lower, const SidePenalty& upper) {
    return std::min(std::max(multiplier, -lower.linear), upper.linear);
}

/// Whether a side is violated, and not just missed by what rounding x leaves. Where that costs
/// nothing but a square, all of it counts.
bool isViolated(double excess, double side, const SidePenalty& penalty) {
    constexpr double ViolationRounding = 1e-13;
    return excess > ViolationRounding * std::max(1.0, std::abs(side)) ||
           penalty.quadratic * excess > ViolationRounding * penalty.linear;
}

}  // namespace

SoftProof proveSoft(const ProblemData& data,
                    const Penalties& penalties,
                    const Piece& piece,
                    const std::vector<Side>& held,
                    Point point) {
    // One that settling could move beyond the penalty.
    constexpr double NearPenalty = 0.999999;
    SoftProof proof;
    proof.beyond.assign(data.m + data.n, Side::None);
    std::vector<SoftSide> sides;
    Vector slacks;
    for (const std::size_t k : penalties.constraints()) {
        const double excess = held[k] == Side::None ? piece.excess(k, point.x) : 0.0;
        const SoftSide beyond{k, piece.beyond(k)};
        if (excess > 0.0 && isViolated(excess, sideOf(data, beyond), penalties.of(beyond))) {
            proof.beyond[k] = beyond.side;
            sides.push_back(beyond);
            slacks.push_back(excess);
            continue;
        }
        double& multiplier = multiplierOf(point, data.m, k);
        multiplier = capped(multiplier, penalties.of(k, Side::Lower), penalties.of(k, Side::Upper));
        const Side side = multiplier < 0.0 ? Side::Lower : Side::Upper;
        if (k >= data.m && std::abs(multiplier) >= NearPenalty * penalties.of(k, side).linear) {
            sides.push_back({k, side});
            slacks.push_back(0.0);
        }
    }
    const SlackProblem extended(data, penalties, sides);
    Point settled = extended.extended(point, slacks);
    proof.judgement = settleAndJudge(extended.data, settled);
    proof.point = extended.restricted(std::move(settled));
    for (const std::size_t k : penalties.constraints()) {
        if (k >= data.m && proof.beyond[k] == Side::None) {
            const double z = proof.point.z[k - data.m];
            proof.areCapped = proof.areCapped && z == capped(z, penalties.of(k, Side::Lower),
                                                             penalties.of(k, Side::Upper));
        }
    }
    return proof;
}

}  // namespace activeset::frontend
