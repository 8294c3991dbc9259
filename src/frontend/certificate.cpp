// Certificates. See Boyd and Vandenberghe, Convex Optimization, on duality gaps and theorems of
// alternatives.
#include "frontend/certificate.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "frontend/dense.hpp"

namespace activeset::frontend {

namespace {

double magnitude(Extended value) {
    return static_cast<double>(value < 0 ? -value : value);
}

/// The largest of many residuals, and the largest in proportion. NaN is larger than anything.
class Largest {
public:
    void add(double residual, double scale) {
        result_.absolute = larger(result_.absolute, residual);
        result_.relative = larger(result_.relative, residual / std::max(1.0, scale));
    }
    [[nodiscard]] Residual result() const { return result_; }

private:
    static double larger(double a, double b) { return b <= a ? a : (std::isnan(a) ? a : b); }

    Residual result_;
};

/// What a multiplier may be, given the sides that there are.
double projected(double multiplier, double lower, double upper) {
    if (multiplier > 0.0) {
        return upper < Infinity ? multiplier : 0.0;
    }
    return lower > -Infinity ? multiplier : 0.0;
}

void project(Vector& multipliers, const Vector& lower, const Vector& upper) {
    for (std::size_t k = 0; k < multipliers.size(); ++k) {
        multipliers[k] = projected(multipliers[k], lower[k], upper[k]);
    }
}

/// Σ y⁺·upper − y⁻·lower
void addSides(Sum& sum, const Vector& multipliers, const Vector& lower, const Vector& upper) {
    for (std::size_t k = 0; k < multipliers.size(); ++k) {
        if (multipliers[k] != 0.0) {
            sum.add(static_cast<Extended>(multipliers[k]) *
                    (multipliers[k] > 0.0 ? upper[k] : lower[k]));
        }
    }
}

/// By how much a value misses its sides.
void addViolation(Largest& largest, Extended value, double scale, double lower, double upper) {
    if (lower > -Infinity) {
        largest.add(std::max(0.0, static_cast<double>(lower - value)), std::abs(lower) + scale);
    }
    if (upper < Infinity) {
        largest.add(std::max(0.0, static_cast<double>(value - upper)), std::abs(upper) + scale);
    }
}

Residual violationOf(const Data& data, const Vector& x, const std::vector<Sum>& rows) {
    Largest largest;
    for (std::size_t i = 0; i < data.m; ++i) {
        addViolation(largest, rows[i].value, rows[i].scale, data.rowLower[i], data.rowUpper[i]);
    }
    for (std::size_t j = 0; j < data.n; ++j) {
        addViolation(largest, x[j], std::abs(x[j]), data.lower[j], data.upper[j]);
    }
    return largest.result();
}

}  // namespace

Residual violation(const Data& data, const Vector& x) {
    return violationOf(data, x, rowValues(data, x));
}

void project(const Data& data, Point& point) {
    project(point.y, data.rowLower, data.rowUpper);
    project(point.z, data.lower, data.upper);
}

Judgement judge(const Data& data, const Point& point) {
    Judgement judgement;
    judgement.certificate.primal = violation(data, point.x);
    Vector y = point.y;
    Vector z = point.z;
    project(y, data.rowLower, data.rowUpper);
    project(z, data.lower, data.upper);

    const std::vector<Sum> curved = curvedSums(data, point.x);
    std::vector<Sum> gradient = curved;
    addLinear(gradient, data);
    addTransposedProduct(gradient, data, y);
    Largest dual;
    Sum quadratic;
    Sum linear;
    for (std::size_t j = 0; j < data.n; ++j) {
        dual.add(magnitude(gradient[j].value + z[j]), gradient[j].scale + std::abs(z[j]));
        quadratic.add(curved[j].value * point.x[j]);
        linear.add(static_cast<Extended>(data.c[j]) * point.x[j]);
    }
    Sum sides;
    addSides(sides, y, data.rowLower, data.rowUpper);
    addSides(sides, z, data.lower, data.upper);
    judgement.certificate.dual = dual.result();
    Largest gap;
    judgement.signedGap = static_cast<double>(quadratic.value + linear.value + sides.value);
    gap.add(std::abs(judgement.signedGap),
            std::max({magnitude(quadratic.value), linear.scale, sides.scale}));
    judgement.certificate.gap = gap.result();
    judgement.objective = static_cast<double>(quadratic.value / 2 + linear.value + data.constant);
    return judgement;
}

namespace {

double ratio(double value, double scale) {
    return scale > 0.0 ? value / scale : 0.0;
}

}  // namespace

Farkas judgeFarkas(const Data& data, Vector y, Vector z) {
    project(y, data.rowLower, data.rowUpper);
    project(z, data.lower, data.upper);
    Sum value;
    addSides(value, y, data.rowLower, data.rowUpper);
    addSides(value, z, data.lower, data.upper);
    const auto weight = static_cast<double>(value.value);
    Farkas farkas;
    // Only the direction counts: its value becomes −1 where it is negative beyond rounding.
    const double unit = weight < 0.0 ? -1.0 / weight : 1.0;
    farkas.value = weight < -1e-12 * value.scale ? weight * unit : 0.0;
    const std::vector<Sum> sums = transposedSums(data, y);
    for (std::size_t j = 0; j < data.n; ++j) {
        farkas.residual.absolute =
            std::max(farkas.residual.absolute, unit * magnitude(sums[j].value + z[j]));
    }
    const double size = largestMagnitude(y) * largestMagnitude(data.A) + largestMagnitude(z);
    farkas.residual.relative = ratio(farkas.residual.absolute, unit * size);
    for (Vector* multipliers : {&y, &z}) {
        for (double& entry : *multipliers) {
            entry *= unit;
        }
    }
    farkas.y = std::move(y);
    farkas.z = std::move(z);
    return farkas;
}

bool holds(const Farkas& farkas, double tolerance) {
    // Absolute as well: r leaves room for a feasible x with Σ|x_j| ≥ 1/r.
    constexpr double LargestResidual = 1e-6;
    return farkas.value < 0.0 && farkas.residual.relative <= tolerance &&
           farkas.residual.absolute <= LargestResidual;
}

Ray judgeRay(const Data& data, const Vector& direction) {
    Ray ray;
    const auto miss = [&ray](double residual, double scale) {
        ray.residual.absolute = std::max(ray.residual.absolute, residual);
        ray.residual.relative = std::max(ray.residual.relative, ratio(residual, scale));
    };
    const auto missSides = [&](double value, double scale, double lower, double upper) {
        miss(std::max(lower > -Infinity ? -value : 0.0, upper < Infinity ? value : 0.0), scale);
    };
    const double length = largestMagnitude(direction);
    const std::vector<Sum> rows = rowValues(data, direction);
    for (std::size_t i = 0; i < data.m; ++i) {
        missSides(static_cast<double>(rows[i].value), rows[i].scale, data.rowLower[i],
                  data.rowUpper[i]);
    }
    const std::vector<Sum> curved = curvedSums(data, direction);
    for (std::size_t j = 0; j < data.n; ++j) {
        missSides(direction[j], length, data.lower[j], data.upper[j]);
        miss(magnitude(curved[j].value), curved[j].scale);
        ray.slope += data.c[j] * direction[j];
        ray.scale += std::abs(data.c[j] * direction[j]);
    }
    return ray;
}

bool holds(const Ray& ray, double tolerance) {
    return ray.slope < -tolerance * ray.scale && ray.slope < 0.0 &&
           ray.residual.relative <= tolerance;
}

Residual curvature(const Data& data, const Vector& direction) {
    const std::vector<Sum> curved = curvedSums(data, direction);
    Extended sum = 0;
    double size = 0.0;
    for (std::size_t j = 0; j < data.n; ++j) {
        sum += curved[j].value * direction[j];
        size += curved[j].scale * std::abs(direction[j]);
    }
    const auto value = static_cast<double>(sum);
    return {value, ratio(value, size)};
}

}  // namespace activeset::frontend
