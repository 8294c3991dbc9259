// Sizes of variables from sides, bounds and the minimum without constraints.
#include "frontend/proof/units.hpp"

#include <algorithm>
#include <array>
#include <cmath>

#include "frontend/algebra/dense.hpp"
#include "frontend/algebra/largest.hpp"

namespace activeset::frontend {

namespace {

double largestFinite(const Vector& values) {
    double largest = 0.0;
    for (const double value : values) {
        largest = std::isfinite(value) ? std::max(largest, std::abs(value)) : largest;
    }
    return largest;
}

}  // namespace

double largestEntryOfRow(const ProblemData& data, std::size_t i) {
    double largest = 0.0;
    for (std::size_t j = 0; j < data.n; ++j) {
        largest = std::max(largest, std::abs(data.columnOfA(j)[i]));
    }
    return largest;
}

Units::Units(const ProblemData& data, const Vector& x) {
    const double H = data.H.largest();
    const double c = largestMagnitude(data.c);
    entry = data.A.largest();
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

double Units::ofRow(const ProblemData& data, std::size_t i) const {
    const double largest = largestEntryOfRow(data, i);
    return (largest > 0.0 ? largest : entry) * variable;
}

double Units::ofObjective() const {
    return std::min(1.0, gradient * variable);
}

double leastSize(const ProblemData& data) {
    const double smallest = Units(data, {}).smallest;
    return smallest < Infinity ? std::max(1.0, smallest) : 1.0;
}

double mostSize(const ProblemData& data) {
    return std::max(1.0, Units(data, {}).variable);
}

}  // namespace activeset::frontend
