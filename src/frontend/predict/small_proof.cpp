// The judgement of certificate.cpp over the arrays of the small road. It is the plainer one: what
// needs more than that to be proved takes the other road.
#include "frontend/predict/small_proof.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "frontend/predict/small_sum.hpp"

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

struct Units {
    double variable = 1.0;
    double gradient = 1.0;
};

Units unitsOf(const SmallMemory& m, const SmallExtent& extent) {
    const double told = std::max(
        {extent.bounds, extent.A > 0.0 ? extent.rowSides / extent.A : 0.0, extent.c / extent.H});
    double largest = 0.0;
    for (std::size_t j = 0; j < m.shape.n; ++j) {
        largest = std::max(largest, std::abs(m.x[j]));
    }
    Units units;
    units.variable = told > 0.0 ? std::max(told, largest) : 1.0;
    units.gradient = std::max(extent.c, extent.H * units.variable);
    return units;
}

double unitOfRow(const SmallMemory& m, std::size_t i, double otherwise) {
    double largest = 0.0;
    for (std::size_t j = 0; j < m.shape.n; ++j) {
        largest = std::max(largest, std::abs(m.data[j * m.shape.height() + m.shape.head() + i]));
    }
    return largest > 0.0 ? largest : otherwise;
}

void addMiss(Largest& largest,
             double value,
             double rest,
             double scale,
             double lower,
             double upper,
             const auto& unit) {
    const double below = lower > -Infinity ? (lower - value) - rest : 0.0;
    const double above = upper < Infinity ? (value - upper) + rest : 0.0;
    const bool isBelow = below > above;
    const double side = isBelow ? lower : upper < Infinity ? upper : 0.0;
    const double miss = isBelow ? below : above;
    if (!(miss <= 0.0)) {
        largest.add(miss, scale + std::abs(side), unit());
    }
}

// What rounding x and y leaves of an entry of the gradient, in proportion to its terms, and of one
// with tiny terms, in proportion to those of others.
constexpr double Rounding = 4.0 * std::numeric_limits<double>::epsilon();
constexpr double RoundingOfOthers = 2.0 * Rounding;
// What the sums may miss, in proportion to their terms: those of short steps are formed in doubles.
constexpr double Evaluation = 1e-21;

// How far variable j may be from zero: an entry of the gradient times that shows in the objective.
double farthest(const SmallMemory& m, std::size_t j) {
    const std::size_t i = m.shape.rows() + j;
    const double bound = std::max(std::abs(m.lower[i]), std::abs(m.upper[i]));
    return std::max({std::abs(m.x[j]), 1.0, bound < Infinity ? bound : 0.0});
}

Residual violationOf(const SmallMemory& m, const SmallExtent& extent, const Units& units) {
    const SmallShape& shape = m.shape;
    Largest largest;
    for (std::size_t i = 0; i < shape.m; ++i) {
        const std::size_t at = shape.head() + i;
        addMiss(largest, m.products.value[at], m.products.rest[at], m.products.scale[at],
                m.lower[i], m.upper[i], [&] { return unitOfRow(m, i, extent.A) * units.variable; });
    }
    for (std::size_t j = 0; j < shape.n; ++j) {
        const std::size_t i = shape.rows() + j;
        addMiss(largest, m.x[j], 0.0, std::abs(m.x[j]), m.lower[i], m.upper[i],
                [&] { return units.variable; });
    }
    return largest.result();
}

}  // namespace

Judgement judge(SmallMemory& m, const SmallExtent& extent, double constant) {
    const SmallShape& shape = m.shape;
    const SmallKernels& kernels = smallKernels();
    const Units units = unitsOf(m, extent);
    const double largest = std::abs(*std::max_element(
        m.x, m.x + shape.n, [](double a, double b) { return std::abs(a) < std::abs(b); }));
    const double farthestX = std::max(largest, std::min(1.0, units.variable));
    Judgement judgement;
    judgement.certificate.primal = violationOf(m, extent, units);
    Largest dual;
    TwoSum quadratic;
    double weight = 0.0;
    for (std::size_t j = 0; j < shape.n; ++j) {
        const double z = m.multipliers[shape.rows() + j];
        const double scale = m.products.scale[j] + m.pull.scale[j] + std::abs(m.c[j]);
        const double residual = std::abs(stationarityOf(m, j));
        const double floor = extent.H * farthestX;
        const bool isFloor = residual <= RoundingOfOthers * std::max(scale, floor);
        dual.add(residual, scale + std::abs(z), isFloor ? units.gradient : 0.0);
        const double size = std::max(std::abs(m.x[j]), std::min(1.0, units.variable));
        const bool isRounding = residual <= Rounding * scale;
        weight += residual * (isRounding ? size : std::max(farthestX, farthest(m, j)));
        weight += Evaluation * scale * size;
        quadratic.rest += m.products.rest[j] * m.x[j];
    }
    judgement.certificate.dual = dual.result();
    const SmallSum curved = kernels.exactDot(m.x, m.products.value, shape.head());
    quadratic.add(curved.value);
    quadratic.rest += curved.rest;
    // Sides that have no multiplier count as zero, be they infinite.
    for (std::size_t i = 0; i < shape.constraints(); ++i) {
        const double y = m.multipliers[i];
        m.values[i] = y > 0.0 ? m.upper[i] : y < 0.0 ? m.lower[i] : 0.0;
    }
    const SmallSum sides = kernels.exactDot(m.multipliers, m.values, shape.constraints());
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
    const double error = std::abs(judgement.signedGap) + weight;
    judgement.certificate.gap = {std::abs(judgement.signedGap), error == 0.0 ? 0.0 : error / size};
    judgement.error =
        std::max({judgement.certificate.primal.relative, judgement.certificate.dual.relative,
                  judgement.certificate.gap.relative});
    objective.add(constant);
    judgement.objective = objective.result();
    return judgement;
}

}  // namespace activeset::frontend
