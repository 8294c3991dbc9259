// From views of penalties to a list of soft sides.
#include "frontend/soft/penalties.hpp"

#include <cmath>
#include <utility>

namespace activeset::frontend {

SidePenalty penaltyOf(const VectorView& linear, const VectorView& quadratic, std::size_t i) {
    SidePenalty penalty;
    penalty.quadratic = quadratic.empty() ? 0.0 : quadratic[i];
    if (!linear.empty()) {
        penalty.linear = linear[i];
    } else if (penalty.quadratic > 0.0) {
        penalty.linear = 0.0;
    }
    return penalty;
}

namespace {

void assign(Vector& target, const VectorView& source) {
    target.clear();
    if (!source.empty()) {
        target.assign(source.data(), source.data() + source.size());
    }
}

}  // namespace

bool areWithin(const Penalty& penalty, const Vector& multipliers) {
    bool isWithin = true;
    for (std::size_t i = 0; i < multipliers.size() && !penalty.empty(); ++i) {
        const double y = multipliers[i];
        const double most = (y < 0.0 ? penaltyOf(penalty.lowerLinear, penalty.lowerQuadratic, i)
                                     : penaltyOf(penalty.upperLinear, penalty.upperQuadratic, i))
                                .linear;
        isWithin = isWithin && std::abs(y) <= most;
    }
    return isWithin;
}

Penalties::Penalties(const Problem& problem, const ProblemData& data)
    : lower_(data.m + data.n), upper_(data.m + data.n) {
    take(problem.rowPenalty, 0, data.m);
    take(problem.boundPenalty, data.m, data.n);
    for (std::size_t k = 0; k < lower_.size(); ++k) {
        const std::size_t before = soft_.size();
        for (const Side side : {Side::Lower, Side::Upper}) {
            SidePenalty& penalty = (side == Side::Lower ? lower_ : upper_)[k];
            if (!std::isfinite(sideOf(data, {k, side}))) {
                penalty = {};
            } else if (penalty.isSoft()) {
                soft_.push_back({k, side});
            }
        }
        if (soft_.size() > before) {
            constraints_.push_back(k);
        }
    }
}

void Penalties::take(const Penalty& penalty, std::size_t first, std::size_t count) {
    if (penalty.empty()) {
        return;
    }
    for (std::size_t i = 0; i < count; ++i) {
        lower_[first + i] = penaltyOf(penalty.lowerLinear, penalty.lowerQuadratic, i);
        upper_[first + i] = penaltyOf(penalty.upperLinear, penalty.upperQuadratic, i);
    }
}

void dropSoftSides(const Problem& problem, ProblemData& data) {
    const Penalties penalties(problem, data);
    for (const SoftSide& side : penalties.softSides()) {
        sideOf(data, side) = side.side == Side::Lower ? -Infinity : Infinity;
    }
}

std::vector<std::size_t>& listOf(WorkingSet& set, bool isRow, Side side) {
    switch (side) {
        case Side::Lower:
            return isRow ? set.rowsAtLower : set.atLower;
        case Side::Upper:
            return isRow ? set.rowsAtUpper : set.atUpper;
        default:
            return isRow ? set.equalities : set.fixed;
    }
}

std::vector<std::size_t>& listOf(ViolatedSides& sides, bool isRow, Side side) {
    if (side == Side::Lower) {
        return isRow ? sides.rowsAtLower : sides.atLower;
    }
    return isRow ? sides.rowsAtUpper : sides.atUpper;
}

void PenaltyCopy::copy(const Penalty& penalty) {
    PenaltyCopy fresh;  // whole, or none of it
    assign(fresh.lowerLinear, penalty.lowerLinear);
    assign(fresh.upperLinear, penalty.upperLinear);
    assign(fresh.lowerQuadratic, penalty.lowerQuadratic);
    assign(fresh.upperQuadratic, penalty.upperQuadratic);
    *this = std::move(fresh);
}

}  // namespace activeset::frontend
