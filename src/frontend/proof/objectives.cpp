// Sums the terms of the objectives.
#include "frontend/proof/objectives.hpp"

#include <algorithm>
#include <cmath>

#include "frontend/proof/sides_sum.hpp"

namespace activeset::frontend {

Objectives::Objectives(const ProblemData& data,
                       const std::vector<Sum>& rows,
                       const std::vector<Sum>& curved,
                       const Point& point) {
    Sum quadratic;
    Sum linear;
    Slackness slack;
    for (std::size_t j = 0; j < data.n; ++j) {
        const double x = point.x[j];
        quadratic.value += curved[j].value * x;
        quadratic.scale += curved[j].scale * std::abs(x);
        linear.add(Extended(data.c[j]) * x);
        slack.add(point.z[j], {x, 0.0}, 0, data.lower[j], data.upper[j]);
    }
    for (std::size_t i = 0; i < data.m; ++i) {
        slack.add(point.y[i], rows[i], data.n, data.rowLower[i], data.rowUpper[i]);
    }
    Sum sides;
    addSides(sides, point.y, data.rowLower, data.rowUpper);
    addSides(sides, point.z, data.lower, data.upper);
    primal = quadratic.value * 0.5 + linear.value;
    gap = quadratic.value + linear.value + sides.value;
    slackness = slack.value;
    if (data.n != 0) {  // a bound for rounding is never 0
        rounding = slack.rounding + roundingOf(quadratic, 2 * data.n) + roundingOf(linear, data.n);
    }
    terms = std::max({quadratic.scale, linear.scale, sides.scale});
}

}  // namespace activeset::frontend
