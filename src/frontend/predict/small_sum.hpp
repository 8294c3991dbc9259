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

/// Entry j of H·x + c + Aᵀy + z.
inline double stationarityOf(const SmallMemory& m, std::size_t j) {
    TwoSum sum{m.products.value[j], m.products.rest[j] + m.pull.rest[j]};
    sum.add(m.pull.value[j]);
    sum.add(m.c[j]);
    sum.add(m.multipliers[m.shape.rows() + j]);
    return sum.result();
}

}  // namespace activeset::frontend

#endif
