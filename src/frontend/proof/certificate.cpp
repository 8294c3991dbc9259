// Certificates. See Boyd and Vandenberghe, Convex Optimization, on duality gaps; on bounds that
// take up what a dual point misses, Jansson, SIAM J. Optim. 14 (2004), and Neumaier and Shcherbina,
// Math. Program. 99 (2004).
#include "frontend/proof/certificate.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "frontend/algebra/dense.hpp"
#include "frontend/proof/gradient_weight.hpp"
#include "frontend/proof/objectives.hpp"
#include "frontend/proof/sides_sum.hpp"
#include "frontend/proof/units.hpp"

namespace activeset::frontend {

namespace {

double proportion(double residual, double size) {
    return residual == 0.0 ? 0.0 : std::isfinite(size) ? residual / size : Infinity;
}

// NaN is larger than anything.
double larger(double a, double b) {
    return b <= a ? a : (std::isnan(a) ? a : b);
}

double largest(std::initializer_list<double> values) {
    double result = 0.0;
    for (const double value : values) {
        result = larger(result, value);
    }
    return result;
}

void include(Residual& all, double residual, double size) {
    all.absolute = larger(all.absolute, residual);
    all.relative = larger(all.relative, proportion(residual, size));
}

/// By how much a value misses its sides: the larger of the two, and the size of that side.
std::pair<double, double> missOf(Extended value, double lower, double upper) {
    const double below = lower > -Infinity ? static_cast<double>(lower - value) : 0.0;
    const double above = upper < Infinity ? static_cast<double>(value - upper) : 0.0;
    if (std::isnan(below) || std::isnan(above)) {
        return {std::numeric_limits<double>::quiet_NaN(), 0.0};
    }
    return below > above
               ? std::pair(std::max(below, 0.0), std::abs(lower))
               : std::pair(std::max(above, 0.0), upper < Infinity ? std::abs(upper) : 0.0);
}

Residual violation(const ProblemData& data,
                   const std::vector<Sum>& rows,
                   const Vector& x,
                   const Units& units) {
    // Terms below 1 are measured by 1, or by what such terms are in general where that is smaller.
    Residual largest;
    for (std::size_t i = 0; i < data.m; ++i) {
        const auto [miss, side] = missOf(rows[i].value, data.rowLower[i], data.rowUpper[i]);
        const double scale = rows[i].scale + side;
        const bool needsUnit = miss != 0.0 && scale < 1.0;
        include(largest, miss,
                std::max(scale, needsUnit ? std::min(1.0, units.ofRow(data, i)) : 1.0));
    }
    for (std::size_t j = 0; j < data.n; ++j) {
        const auto [miss, side] = missOf(x[j], data.lower[j], data.upper[j]);
        include(largest, miss, std::max(std::abs(x[j]) + side, std::min(1.0, units.variable)));
    }
    return largest;
}

bool touchesUnweighedSide(const ProblemData& data,
                          const std::vector<Sum>& rows,
                          const Point& point) {
    bool isTouched = false;
    for (std::size_t i = 0; i < data.m && !isTouched; ++i) {
        isTouched = point.y[i] == 0.0 &&
                    touches(rows[i].value, rows[i].scale, data.rowLower[i], data.rowUpper[i]);
    }
    for (std::size_t j = 0; j < data.n && !isTouched; ++j) {
        const double x = point.x[j];
        isTouched = point.z[j] == 0.0 && touches(x, std::abs(x), data.lower[j], data.upper[j]);
    }
    return isTouched;
}

/// @param sums  H·x + c + Aᵀy, of which H·x is given as well
bool haveCancelled(const ProblemData& data,
                   const std::vector<Sum>& curved,
                   const std::vector<Sum>& sums) {
    double all = 0.0;
    double own = 0.0;
    for (std::size_t j = 0; j < data.n; ++j) {
        all = std::max(all, sums[j].scale);
        own = std::max(own, curved[j].scale + std::abs(data.c[j]));
    }
    return all > Cancelling * own;
}

/// A multiplier that is so close to what its entry of the gradient asks for, in proportion to the
/// terms, is left as it is.
constexpr double CloseMultiplier = 1e-11;

/// Chooses the multipliers of bounds that serve a proof best.
class BoundMultipliers {
public:
    BoundMultipliers(const ProblemData& data, const Point& point, const Units& units)
        : data_(data),
          x_(point.x),
          units_(units),
          largestX_(std::max(largestMagnitude(point.x), std::min(1.0, units.variable))),
          largestY_(largestMagnitude(point.y)) {}

    struct Choice {
        double multiplier = 0.0;
        double residual = 0.0;
        double size = 0.0;  ///< of the terms that the residual is in proportion to
    };

    /// @param force  entry j of H·x + c + Aᵀy
    /// @param given  a multiplier that its bounds allow
    [[nodiscard]] Choice choose(std::size_t j, const Sum& force, double given) const {
        const double left = magnitude(force.value + given);
        const double scale = force.scale + std::abs(given);
        const double size = magnitude(force.value);
        const bool isRounding = size <= GradientRounding * scale;
        if (given == 0.0 ? isRounding : !isRounding && left <= CloseMultiplier * scale) {
            return {given, left, scale};
        }
        const double lower = data_.lower[j];
        const double upper = data_.upper[j];
        const double wanted = -static_cast<double>(force.value);
        const bool isBounded = projected(wanted, lower, upper) == wanted;
        const double most =
            CloseMultiplier / GradientRounding * (scale + std::min(1.0, units_.gradient));
        const double ownScale = std::max(scale, std::min(most, floorOf(j, isBounded)));
        if (!(size <= GradientRounding * ownScale)) {
            return isBounded ? Choice{wanted, magnitude(force.value + wanted), scale}
                             : Choice{0.0, size, scale};
        }
        // All is rounding, and no multiplier as good as any. At the bound one weighs nothing.
        const double side = wanted > 0.0 ? upper : lower;
        return isBounded && x_[j] == side
                   ? Choice{wanted, magnitude(force.value + wanted), ownScale}
                   : Choice{0.0, size, ownScale};
    }

private:
    // What a sum of such terms is rounded by at a point of this size, be its own terms tiny.
    [[nodiscard]] double floorOf(std::size_t j, bool isBounded) const {
        // A tiny cost is no rounding of anything.
        const bool isCost = data_.c[j] != 0.0;
        const double floor = isBounded || isCost ? 0.0 : std::min(1.0, units_.gradient);
        double curved = 0.0;
        for (std::size_t i = 0; i < data_.n && data_.quadratic; ++i) {
            curved += std::abs(data_.columnOfH(j)[i]);
        }
        double pulled = 0.0;
        for (std::size_t i = 0; i < data_.m; ++i) {
            pulled += std::abs(data_.columnOfA(j)[i]);
        }
        return std::max({floor, curved * largestX_, pulled * largestY_});
    }

    const ProblemData& data_;
    const Vector& x_;
    const Units& units_;
    double largestX_;
    double largestY_;
};

/// Projects y and chooses z; the residuals of the gradient that are left, n of them.
std::vector<Sum> settle(const ProblemData& data,
                        const std::vector<Sum>& curved,
                        const Units& units,
                        Point& point,
                        Residual& largest) {
    project(point.y, data.rowLower, data.rowUpper);
    project(point.z, data.lower, data.upper);
    std::vector<Sum> forces = curved;
    addLinear(forces, data);
    addTransposedProduct(forces, data, point.y);
    const BoundMultipliers multipliers(data, point, units);
    for (std::size_t j = 0; j < data.n; ++j) {
        const BoundMultipliers::Choice choice = multipliers.choose(j, forces[j], point.z[j]);
        point.z[j] = choice.multiplier;
        include(largest, choice.residual, choice.size);
        forces[j].value += choice.multiplier;
    }
    return forces;
}

}  // namespace

bool touches(Extended value, double scale, double lower, double upper, double reach) {
    const auto isClose = [&](Extended slack, double side) {
        return std::abs(side) < Infinity && slack <= reach * (scale + std::abs(side));
    };
    return isClose(value - lower, lower) || isClose(upper - value, upper);
}

Residual violation(const ProblemData& data, const Vector& x) {
    return violation(data, rowValues(data, x), x, Units(data, x));
}

void settle(const ProblemData& data, Point& point) {
    Residual residual;
    static_cast<void>(
        settle(data, curvedSums(data, point.x), Units(data, point.x), point, residual));
}

Judgement judge(const ProblemData& data, Point point, const Point* digits) {
    return settleAndJudge(data, point, digits);
}

// For multipliers that are exact the objective of the optimum is the Lagrangian at x, to first
// order in what x misses: objective minus slackness. What the rounding of the multipliers takes
// from their own dual objective says nothing about x.
Judgement settleAndJudge(const ProblemData& data, Point& point, const Point* digits) {
    Judgement judgement;
    Certificate& certificate = judgement.certificate;
    const Units units(data, point.x);
    const std::vector<Sum> rows = rowValues(data, point.x);
    const std::vector<Sum> curved = curvedSums(data, point.x);
    certificate.primal = violation(data, rows, point.x, units);
    certificate.dual = {};
    const std::vector<Sum> residuals = settle(data, curved, units, point, certificate.dual);
    const double weight = digits != nullptr ? weightBehind(data, residuals, point, *digits, units)
                                            : weightOf(data, residuals, point, units);

    const Objectives values(data, rows, curved, point);
    judgement.signedGap = static_cast<double>(values.gap);
    certificate.gap.absolute = std::abs(judgement.signedGap);
    const double error = magnitude(values.slackness) + weight + values.rounding;
    const double size =
        std::max({magnitude(values.primal), magnitude(values.primal - values.slackness),
                  units.ofObjective()});
    certificate.gap.relative = proportion(error, size);
    const double terms = std::max({size, values.terms, termsOf(residuals, point.x, units)});
    judgement.error = largest({certificate.primal.relative, certificate.dual.relative,
                               proportion(magnitude(values.slackness) + weight, terms)});
    judgement.objective = static_cast<double>(values.primal + data.constant);
    judgement.isDelicate =
        haveCancelled(data, curved, residuals) ||
        (certificate.primal.relative > NegligibleMiss && touchesUnweighedSide(data, rows, point));
    return judgement;
}

}  // namespace activeset::frontend
