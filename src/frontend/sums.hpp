// Sums in extended precision, of which rounding does not show in a double.
#ifndef ACTIVESET_SRC_FRONTEND_SUMS_HPP
#define ACTIVESET_SRC_FRONTEND_SUMS_HPP

#include <vector>

#include "frontend/data.hpp"

namespace activeset::frontend {

/// The type of such sums.
using Extended = long double;

/// A sum, and the sum of the magnitudes of its terms.
struct Sum {
    Extended value = 0;
    double scale = 0.0;

    void add(Extended term) {
        value += term;
        scale += static_cast<double>(term < 0 ? -term : term);
    }
};

/// A·x, m sums.
[[nodiscard]] std::vector<Sum> rowValues(const Data& data, const Vector& x);
/// H·x, n sums.
[[nodiscard]] std::vector<Sum> curvedSums(const Data& data, const Vector& x);
/// Adds c.
void addLinear(std::vector<Sum>& sums, const Data& data);
/// Adds Aᵀy.
void addTransposedProduct(std::vector<Sum>& sums, const Data& data, const Vector& y);
/// H·x + c + Aᵀy and Aᵀy, n sums.
[[nodiscard]] std::vector<Sum> gradientSums(const Data& data, const Vector& x, const Vector& y);
[[nodiscard]] std::vector<Sum> transposedSums(const Data& data, const Vector& y);

}  // namespace activeset::frontend

#endif
