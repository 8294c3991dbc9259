// Sums of a few numbers in twice the precision, and the residuals that are made of them.
#ifndef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_SUM_HPP
#define ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_SUM_HPP

#include "frontend/predict/small_memory.hpp"

namespace activeset::frontend {

/// Knuth's two-sum.
struct TwoSum {
    double value = 0.0;
    double rest = 0.0;

    void add(double term) {
        const double sum = value + term;
        const double added = sum - value;
        rest += (value - (sum - added)) + (term - added);
        value = sum;
    }
    [[nodiscard]] double result() const { return value + rest; }
};

/// Of the point in the memory.
inline SmallGradient gradientOf(const SmallMemory& m) {
    const std::size_t bounds = m.shape.rows();
    return {m.products,       m.pull,          m.c, m.multipliers + bounds, m.x,
            m.lower + bounds, m.upper + bounds};
}

}  // namespace activeset::frontend

#endif
