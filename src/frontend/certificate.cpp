// Certificates. See Boyd and Vandenberghe, Convex Optimization, on duality gaps and theorems of
// alternatives.
#include "frontend/certificate.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include "frontend/dense.hpp"

namespace activeset::frontend {

namespace {

double ratio(double value, double scale) {
    return scale > 0.0 ? value / scale : 0.0;
}

double magnitude(Extended value) {
    return static_cast<double>(value < 0 ? -value : value);
}

/// The largest of many residuals, and the largest in proportion. NaN is larger than anything.
class Largest {
public:
    /// @param scale  of the terms that the residual is the sum of
    /// @param unit   what a term of such a sum is in general, for sums of very small terms
    void add(double residual, double scale, double unit) {
        result_.absolute = larger(result_.absolute, residual);
        const double size = std::max(std::min(1.0, unit), scale);
        const double proportion = std::isfinite(size) ? residual / size : Infinity;
        result_.relative = larger(result_.relative, residual == 0.0 ? 0.0 : proportion);
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

double largestEntryOfRow(const Data& data, std::size_t i) {
    double largest = 0.0;
    for (std::size_t j = 0; j < data.n; ++j) {
        largest = std::max(largest, std::abs(data.columnOfA(j)[i]));
    }
    return largest;
}

double largestFinite(const Vector& values) {
    double largest = 0.0;
    for (const double value : values) {
        largest = std::isfinite(value) ? std::max(largest, std::abs(value)) : largest;
    }
    return largest;
}

/// The sizes that are natural for a variable and for an entry of the gradient: a residual is small
/// in proportion to what the data are like, be they all tiny. 1 where the data do not tell.
struct Units {
    double variable = 1.0;
    double gradient = 1.0;
    double entry = 1.0;          ///< of A
    double smallest = Infinity;  ///< that any part of the data tells of a variable

    Units(const Data& data, const Vector& x) {
        const double H = largestMagnitude(data.H);
        const double c = largestMagnitude(data.c);
        entry = largestMagnitude(data.A);
        const std::array sizes{largestFinite(data.lower), largestFinite(data.upper),
                               ratio(largestFinite(data.rowLower), entry),
                               ratio(largestFinite(data.rowUpper), entry), ratio(c, H)};
        const double told = *std::max_element(sizes.begin(), sizes.end());
        for (const double size : sizes) {
            smallest = size > 0.0 ? std::min(smallest, size) : smallest;
        }
        variable = told > 0.0 ? std::max(told, largestMagnitude(x)) : 1.0;
        const double slope = std::max(c, H * variable);
        gradient = slope > 0.0 ? slope : 1.0;
    }

    /// Of a row with small terms. Rows of zeros are judged like others.
    [[nodiscard]] double ofRow(const Data& data, std::size_t i) const {
        const double largest = largestEntryOfRow(data, i);
        return (largest > 0.0 ? largest : entry) * variable;
    }
};

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

Residual violation(const Data& data, const Vector& x, const Units& units) {
    Largest largest;
    const std::vector<Sum> rows = rowValues(data, x);
    for (std::size_t i = 0; i < data.m; ++i) {
        const auto [miss, side] = missOf(rows[i].value, data.rowLower[i], data.rowUpper[i]);
        const double scale = rows[i].scale + side;
        const bool needsUnit = miss != 0.0 && scale < 1.0;
        largest.add(miss, scale, needsUnit ? units.ofRow(data, i) : 1.0);
    }
    for (std::size_t j = 0; j < data.n; ++j) {
        const auto [miss, side] = missOf(x[j], data.lower[j], data.upper[j]);
        largest.add(miss, std::abs(x[j]) + side, units.variable);
    }
    return largest.result();
}

}  // namespace

Residual violation(const Data& data, const Vector& x) {
    return violation(data, x, Units(data, x));
}

void project(const Data& data, Point& point) {
    project(point.y, data.rowLower, data.rowUpper);
    project(point.z, data.lower, data.upper);
}

Judgement judge(const Data& data, const Point& point) {
    Judgement judgement;
    const Units units(data, point.x);
    judgement.certificate.primal = violation(data, point.x, units);
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
        dual.add(magnitude(gradient[j].value + z[j]), gradient[j].scale + std::abs(z[j]),
                 units.gradient);
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
            std::max({magnitude(quadratic.value), linear.scale, sides.scale}),
            units.gradient * units.variable);
    judgement.certificate.gap = gap.result();
    judgement.objective = static_cast<double>(quadratic.value / 2 + linear.value + data.constant);
    return judgement;
}

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
    constexpr double Insignificant = 1e-12;
    farkas.value = weight < -Insignificant * value.scale ? weight * unit : 0.0;
    const double roundingUnit = static_cast<double>(std::numeric_limits<Extended>::epsilon()) *
                                static_cast<double>(data.m + 1);
    const std::vector<Sum> sums = transposedSums(data, y);
    for (std::size_t j = 0; j < data.n; ++j) {
        // What rounding may have taken from the sum belongs to it where it is not too small to
        // matter: huge multipliers can cancel.
        const double rounding = unit * roundingUnit * sums[j].scale;
        const double residual = unit * magnitude(sums[j].value + z[j]);
        farkas.residual.absolute = std::max(farkas.residual.absolute,
                                            residual + (rounding > Insignificant ? rounding : 0.0));
    }
    // A row weighs as much as its entries, or as its side does among variables of natural size.
    const double variable = Units(data, {}).variable;
    double size = largestMagnitude(z);
    for (std::size_t i = 0; i < data.m; ++i) {
        if (y[i] != 0.0) {
            const double side = std::abs(y[i] > 0.0 ? data.rowUpper[i] : data.rowLower[i]);
            const double rowSize = std::max(largestEntryOfRow(data, i), side / variable);
            size = std::max(size, std::abs(y[i]) * rowSize);
        }
    }
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

double leastSize(const Data& data) {
    const double smallest = Units(data, {}).smallest;
    return smallest < Infinity ? std::max(1.0, smallest) : 1.0;
}

bool holds(const Farkas& farkas, double tolerance, double variable) {
    // A residual r leaves room for a feasible x with Σ|x_j| ≥ 1/r.
    constexpr double LargestResidual = 1e-6;
    return farkas.value < 0.0 && farkas.residual.relative <= tolerance &&
           farkas.residual.absolute * variable <= LargestResidual;
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
