// The judgement of certificate.cpp over the arrays of the small road. It is the plainer one: what
// needs more than that to be proved takes the other road.
#include "frontend/predict/small_proof.hpp"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

#include "frontend/algebra/largest.hpp"
#include "frontend/predict/small_sum.hpp"
#include "frontend/proof/gradient_weight.hpp"

namespace activeset::frontend {

namespace {

class Largest {
public:
    void add(double residual, double scale, double unit) {
        if (residual == 0.0) {
            return;
        }
        const double size = std::max(std::min(1.0, unit), scale);
        absolute_ = std::max(absolute_, residual);
        if (residual > relative_ * size) {
            relative_ = residual / size;
        }
        isSound_ = isSound_ && residual >= 0.0 && size < Infinity;  // so NaN is not
    }
    [[nodiscard]] Residual result() const {
        return isSound_ ? Residual{absolute_, relative_} : Residual{Infinity, Infinity};
    }

private:
    double absolute_ = 0.0;
    double relative_ = 0.0;
    bool isSound_ = true;
};

struct Sizes {
    double variable = 1.0;
    double gradient = 1.0;
};

Sizes unitsOf(const SmallExtent& extent, double largest) {
    const double told = extent.mostTold();
    Sizes units;
    units.variable = told > 0.0 ? std::max(told, largest) : 1.0;
    const double slope = std::max(extent.c, extent.H * units.variable);
    units.gradient = slope > 0.0 ? slope : 1.0;
    return units;
}

double unitOfRow(const SmallMemory& m, std::size_t i, double otherwise) {
    double largest = 0.0;
    for (std::size_t j = 0; j < m.shape.n; ++j) {
        largest = std::max(largest, std::abs(m.data[j * m.shape.height() + m.shape.head() + i]));
    }
    return largest > 0.0 ? largest : otherwise;
}

// What rounding x and y leaves of an entry of the gradient with tiny terms, in proportion to those
// of others.
constexpr double RoundingOfOthers = 8.0 * std::numeric_limits<double>::epsilon();
// What the sums may miss, in proportion to their terms: those of short steps are formed in doubles.
constexpr double SumRounding = 1e-21;

/// The magnitude of the side that value + rest misses.
double sideMissed(const SmallMemory& m, std::size_t i, double value, double rest) {
    const bool isBelow = (m.lower[i] - value) - rest > 0.0;
    const double side = std::abs(isBelow ? m.lower[i] : m.upper[i]);
    return side < Infinity ? side : 0.0;
}

/// What rows and bounds miss, and whether that is delicate.
void judgeSides(SmallMemory& m, const SmallExtent& extent, const Sizes& units, Judgement& all) {
    const SmallShape& shape = m.shape;
    const SmallKernels& kernels = m.kernels;
    Largest largest;
    const double* const value = m.products.value + shape.head();
    const double* const rest = m.products.rest + shape.head();
    const bool isRowMissed = kernels.misses(value, rest, m.lower, m.upper, shape.rows(), m.values);
    if (isRowMissed) {
        for (std::size_t i = 0; i < shape.m; ++i) {
            const double scale = m.products.scale[shape.head() + i];
            if (!(m.values[i] <= -TouchedSide * scale)) {
                all.isDelicate = all.isDelicate || m.multipliers[i] == 0.0;
            }
            if (!(m.values[i] <= 0.0)) {
                const double side = sideMissed(m, i, value[i], rest[i]);
                // The unit counts where the terms are below 1.
                const bool isTiny = !(scale + side >= 1.0);
                largest.add(m.values[i], scale + side,
                            isTiny ? unitOfRow(m, i, extent.A) * units.variable : 1.0);
            }
        }
    }
    const std::size_t bounds = shape.rows();
    if (kernels.misses(m.x, nullptr, m.lower + bounds, m.upper + bounds, shape.head(), m.values)) {
        for (std::size_t j = 0; j < shape.n; ++j) {
            if (!(m.values[j] <= 0.0)) {
                const double side = sideMissed(m, bounds + j, m.x[j], 0.0);
                largest.add(m.values[j], std::abs(m.x[j]) + side, units.variable);
                all.isDelicate = true;  // one that is held is met
            }
        }
    }
    for (std::size_t j = 0; j < shape.n && isRowMissed && !all.isDelicate; ++j) {
        all.isDelicate =
            m.multipliers[bounds + j] == 0.0 && !(m.values[j] <= -TouchedSide * std::abs(m.x[j]));
    }
    all.certificate.primal = largest.result();
    const bool isNegligible = all.certificate.primal.relative <= NegligibleMiss;
    const double own = std::max(kernels.largest(m.products.scale, shape.head()), extent.c);
    all.isDelicate = (all.isDelicate && !isNegligible) ||
                     kernels.largest(m.pull.scale, shape.head()) > Cancelling * own;
}

}  // namespace

bool doBoundsContradict(SmallMemory& m) {
    const SmallShape& shape = m.shape;
    std::transform(m.u, m.u + shape.head(), m.multipliers + shape.rows(), std::negate<>());
    const SmallSum sides =
        m.kernels.exactSides(m.multipliers, m.lower, m.upper, shape.constraints());
    return sides.scale < Infinity && sides.value < -ClearContradiction * sides.scale;
}

ConstraintsView constraintsOf(const SmallMemory& m) {
    const SmallShape& shape = m.shape;
    return {{m.data + shape.head(), shape.m, shape.n, shape.height()},
            m.lower,
            m.upper,
            m.lower + shape.rows(),
            m.upper + shape.rows()};
}

Judgement judge(SmallMemory& m, const SmallExtent& extent, double constant) {
    const SmallShape& shape = m.shape;
    const SmallKernels& kernels = m.kernels;
    const double largest = kernels.largest(m.x, shape.head());
    const Sizes units = unitsOf(extent, largest);
    const double variable = std::min(1.0, units.variable);
    const double farthest = std::max(largest, variable);
    // Where no curvature may end a slope, it is in proportion to its own terms.
    const double floor = extent.isProximal() ? 0.0 : extent.H * farthest;
    Judgement judgement;
    judgeSides(m, extent, units, judgement);
    const SmallGradientProof gradient = kernels.weighGradient(
        gradientOf(m),
        {GradientRounding, RoundingOfOthers, SumRounding, floor, std::min(1.0, units.gradient),
         variable, std::max(largest, units.variable), Infinity},
        shape.head());
    TwoSum quadratic;
    quadratic.rest = gradient.rest;
    judgement.certificate.dual = gradient.isSound ? Residual{gradient.absolute, gradient.relative}
                                                  : Residual{Infinity, Infinity};
    const SmallSum curved = kernels.exactDot(m.x, m.products.value, shape.head());
    quadratic.add(curved.value);
    quadratic.rest += curved.rest;
    const SmallSum sides = kernels.exactSides(m.multipliers, m.lower, m.upper, shape.constraints());
    const std::size_t linear = shape.head() + shape.m;
    TwoSum gap = quadratic;
    gap.add(m.products.value[linear]);
    gap.add(sides.value);
    gap.rest += m.products.rest[linear] + sides.rest;
    judgement.signedGap = gap.result();
    TwoSum objective{quadratic.value / 2, quadratic.rest / 2 + m.products.rest[linear]};
    objective.add(m.products.value[linear]);
    const double size =
        std::max(std::abs(objective.result()), std::min(1.0, units.gradient * units.variable));
    const double error = std::abs(judgement.signedGap) + gradient.weight;
    judgement.certificate.gap = {std::abs(judgement.signedGap), error == 0.0 ? 0.0 : error / size};
    judgement.error =
        std::max({judgement.certificate.primal.relative, judgement.certificate.dual.relative,
                  judgement.certificate.gap.relative});
    objective.add(constant);
    judgement.objective = objective.result();
    return judgement;
}

}  // namespace activeset::frontend
