// Weights of residuals: how far each may move its variable.
#include "frontend/proof/gradient_weight.hpp"

#include <algorithm>
#include <cmath>

#include "frontend/algebra/dense.hpp"

namespace activeset::frontend {

// An entry within the rounding of its terms stands for one of x, or, where it would take a variable
// off its bound, for as far as any is. One beyond that may move its variable, be that zero, as far
// as any is, or as far as a side or a bound tells that some may be.
double weightOf(const ProblemData& data,
                const std::vector<Sum>& residuals,
                const Point& point,
                const Units& units) {
    const double unit = std::min(1.0, units.variable);
    const double largest = std::max(largestMagnitude(point.x), unit);
    const double farthest = std::max(largest, units.variable);
    double weight = 0.0;
    for (std::size_t j = 0; j < data.n; ++j) {
        const double x = point.x[j];
        const double residual = magnitude(residuals[j].value);
        const bool isFree = point.z[j] == 0.0;
        const bool isAtBound = x == data.lower[j] || x == data.upper[j];
        if (residual <= GradientRounding * residuals[j].scale) {
            weight += residual * (isAtBound && isFree ? largest : std::max(std::abs(x), unit));
        } else {
            weight += residual * farthest;
        }
    }
    return weight;
}

double termsOf(const std::vector<Sum>& residuals, const Vector& x, const Units& units) {
    const double unit = std::min(1.0, units.variable);
    double terms = 0.0;
    for (std::size_t j = 0; j < x.size(); ++j) {
        terms += residuals[j].scale * std::max(std::abs(x[j]), unit);
    }
    return terms;
}

double weightBehind(const ProblemData& data,
                    std::vector<Sum> residuals,
                    const Point& point,
                    const Point& digits,
                    const Units& units) {
    // What moves x or y by more of their size is another point.
    constexpr double LargestDigits = 1e-6;
    const double unit = std::min(1.0, units.variable);
    if (!(largestMagnitude(digits.x) <=
          LargestDigits * std::max(largestMagnitude(point.x), unit)) ||
        !(largestMagnitude(digits.y) <= LargestDigits * largestMagnitude(point.y))) {
        return weightOf(data, residuals, point, units);
    }
    const std::vector<Sum> curved = curvedSums(data, digits.x);
    addTransposedProduct(residuals, data, digits.y);
    Extended bend = 0;
    for (std::size_t j = 0; j < data.n; ++j) {
        bend += curved[j].value * digits.x[j];
        residuals[j].value += curved[j].value;
        if (std::abs(point.z[j]) > magnitude(residuals[j].value)) {
            residuals[j].value = 0;  // the multiplier of the bound has more digits, and its sign
        }
    }
    return weightOf(data, residuals, point, units) + magnitude(bend * 0.5);
}

}  // namespace activeset::frontend
