// Sums in extended precision: rounded to double, they show no rounding error.
#ifndef ACTIVESET_SRC_FRONTEND_PROBLEM_EXTENDED_SUMS_HPP
#define ACTIVESET_SRC_FRONTEND_PROBLEM_EXTENDED_SUMS_HPP

#include <cmath>
#include <vector>

#include "frontend/algebra/double_double.hpp"
#include "frontend/algebra/exact_products.hpp"
#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

/// The type in which they are formed.
using Extended = DoubleDouble;

/// A sum, and the sum of the magnitudes of its terms.
struct Sum {
    Extended value;
    double scale = 0.0;

    void add(Extended term) {
        value += term;
        scale += std::abs(static_cast<double>(term));
    }
};

[[nodiscard]] inline double magnitude(const Extended& value) {
    return std::abs(static_cast<double>(value));
}

/// A bound for the rounding error of a sum of `terms` products of doubles.
[[nodiscard]] inline double roundingOf(const Sum& sum, std::size_t terms) {
    return boundOfRounding(terms, sum.scale);
}

/// A·x, m sums.
[[nodiscard]] std::vector<Sum> rowValues(const ProblemData& data, const Vector& x);
/// H·x, n sums.
[[nodiscard]] std::vector<Sum> curvedSums(const ProblemData& data, const Vector& x);
/// Adds c.
void addLinear(std::vector<Sum>& sums, const ProblemData& data);
/// Adds Aᵀy.
void addTransposedProduct(std::vector<Sum>& sums, const ProblemData& data, const Vector& y);
/// H·x + c + Aᵀy and Aᵀy, n sums.
[[nodiscard]] std::vector<Sum> gradientSums(const ProblemData& data,
                                            const Vector& x,
                                            const Vector& y);
[[nodiscard]] std::vector<Sum> transposedSums(const ProblemData& data, const Vector& y);

}  // namespace activeset::frontend

#endif
