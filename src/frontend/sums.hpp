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
/// H·x + c + Aᵀy, n sums; without H for an empty x, with c or without.
enum class Linear { Included, Omitted };
[[nodiscard]] std::vector<Sum> gradientSums(const Data& data,
                                            const Vector& x,
                                            const Vector& y,
                                            Linear linear = Linear::Included);

}  // namespace activeset::frontend

#endif
