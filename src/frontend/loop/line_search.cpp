// The exact line search. Slope and curvature are formed in extended precision: far out they are
// small differences of large numbers.
#include "frontend/loop/line_search.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "frontend/problem/extended_sums.hpp"

namespace activeset::frontend {

namespace {

// Rates up to these are rounding: of d, in proportion to the rate's terms, and of the points that d
// is the difference of, in proportion to the value's terms.
constexpr double RateRounding = 1e-12;
constexpr double ValueRounding = 4.0 * std::numeric_limits<double>::epsilon();

/// The longest step until a value that changes by `rate` per unit reaches its side.
double roomOf(double value, double rate, double lower, double upper) {
    if (rate == 0.0) {
        return Infinity;
    }
    return std::max(0.0, ((rate > 0.0 ? upper : lower) - value) / rate);
}

}  // namespace

double lineSearch(const ProblemData& data, const Vector& x, const Vector& d) {
    std::vector<Sum> gradient = curvedSums(data, x);
    addLinear(gradient, data);
    const std::vector<Sum> curved = curvedSums(data, d);
    Extended slope = 0;
    Sum bend;
    double room = Infinity;
    for (std::size_t j = 0; j < data.n; ++j) {
        slope += gradient[j].value * d[j];
        bend.value += curved[j].value * d[j];
        bend.scale += curved[j].scale * std::abs(d[j]);
        room = std::min(room, roomOf(x[j], d[j], data.lower[j], data.upper[j]));
    }
    const std::vector<Sum> values = rowValues(data, x);
    const std::vector<Sum> rates = rowValues(data, d);
    for (std::size_t i = 0; i < data.m; ++i) {
        const auto rate = static_cast<double>(rates[i].value);
        if (std::abs(rate) > RateRounding * rates[i].scale + ValueRounding * values[i].scale) {
            room = std::min(room, roomOf(static_cast<double>(values[i].value), rate,
                                         data.rowLower[i], data.rowUpper[i]));
        }
    }
    const auto descent = -static_cast<double>(slope);
    const auto curvature = static_cast<double>(bend.value);
    const double step =
        curvature > roundingOf(bend, 2 * data.n) ? std::min(room, descent / curvature) : room;
    return descent > 0.0 && step < Infinity ? step : 0.0;
}

}  // namespace activeset::frontend
