// For a feasible x, Σ r_j·x_j with r = Aᵀy + z is at most the sum of the weighed sides. If the
// sides add up to less than any such sum can be, nothing is feasible. Each r_j is small. The
// product r_j·x_j then is small where x_j has a bound on the side that matters, and elsewhere as
// long as x_j is not too large: that is what the radius says.
#include "frontend/proof/farkas.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "frontend/algebra/dense.hpp"
#include "frontend/proof/sides_sum.hpp"
#include "frontend/proof/units.hpp"

namespace activeset::frontend {

namespace {

constexpr double InsignificantValue = 1e-12;  // a value, in proportion to its terms

void multiply(Vector& values, double factor) {
    for (double& value : values) {
        value *= factor;
    }
}

/// The power of two that brings a negative value to −1 or beyond, but not to −2.
double unitFor(double value) {
    constexpr int Most = 1000;
    return std::ldexp(1.0, std::clamp(-std::ilogb(value), -Most, Most));
}

Sum valueOf(const ProblemData& data, const Vector& y, const Vector& z) {
    Sum value;
    addSides(value, y, data.rowLower, data.rowUpper);
    addSides(value, z, data.lower, data.upper);
    return value;
}

/// The size of the multipliers. A row counts by its entries, or by its side in proportion to
/// variables of natural size.
double sizeOf(const ProblemData& data, const Farkas& farkas) {
    const double variable = Units(data, {}).variable;
    double size = largestMagnitude(farkas.z);
    for (std::size_t i = 0; i < data.m; ++i) {
        const double y = farkas.y[i];
        if (y != 0.0) {
            const double side = std::abs(y > 0.0 ? data.rowUpper[i] : data.rowLower[i]);
            size =
                std::max(size, std::abs(y) * std::max(largestEntryOfRow(data, i), side / variable));
        }
    }
    return size;
}

/// Forms the residual of Aᵀy + z, and from what bounds do not take up the radius.
void measure(const ProblemData& data, const std::vector<Sum>& sums, double slack, Farkas& farkas) {
    double unbounded = 0.0;
    Sum taken;
    for (std::size_t j = 0; j < data.n; ++j) {
        const Extended rest = sums[j].value + farkas.z[j];
        const double residual = magnitude(rest) + roundingOf(sums[j], data.m + 1);
        farkas.residual.absolute = std::max(farkas.residual.absolute, magnitude(rest));
        // Rounding may have changed the sign.
        const bool isSure = magnitude(rest) > roundingOf(sums[j], data.m + 1);
        const double lower = std::abs(data.lower[j]);
        const double upper = std::abs(data.upper[j]);
        const double bound = !isSure ? std::max(lower, upper) : rest > 0 ? lower : upper;
        if (bound < Infinity) {
            taken.add(Extended(residual) * bound);
        } else {
            unbounded = std::max(unbounded, residual);
        }
    }
    slack -= static_cast<double>(taken.value) * (1.0 + InsignificantValue);
    farkas.radius = !(slack > 0.0) ? 0.0 : unbounded > 0.0 ? slack / unbounded : Infinity;
}

}  // namespace

Farkas judgeFarkas(const ProblemData& data, Vector y) {
    Farkas farkas;
    project(y, data.rowLower, data.rowUpper);
    std::vector<Sum> sums = transposedSums(data, y);
    Vector z(data.n, 0.0);
    for (std::size_t j = 0; j < data.n; ++j) {
        z[j] = projected(-static_cast<double>(sums[j].value), data.lower[j], data.upper[j]);
    }
    const Sum before = valueOf(data, y, z);
    if (before.value < 0 && static_cast<double>(before.value) > -Infinity) {
        const double unit = unitFor(static_cast<double>(before.value));
        multiply(y, unit);
        multiply(z, unit);
        sums = transposedSums(data, y);
    }
    farkas.y = std::move(y);
    farkas.z = std::move(z);
    const Sum value = valueOf(data, farkas.y, farkas.z);
    const auto weight = static_cast<double>(value.value);
    if (weight < -InsignificantValue * value.scale) {
        farkas.value = weight;
        measure(data, sums, -weight - roundingOf(value, data.n + data.m), farkas);
    }
    const double size = sizeOf(data, farkas);
    farkas.residual.relative = size > 0.0 ? farkas.residual.absolute / size : 0.0;
    return farkas;
}

bool holds(const Farkas& farkas, double tolerance, double variable) {
    constexpr double LeastRadius = 1e6;
    return farkas.value < 0.0 && farkas.residual.relative <= tolerance &&
           farkas.radius >= LeastRadius * variable;
}

}  // namespace activeset::frontend
