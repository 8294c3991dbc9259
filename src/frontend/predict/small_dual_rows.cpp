// The contradictions of the dual method of the small road.
#include <algorithm>
#include <cmath>

#include "frontend/predict/small_dual.hpp"
#include "frontend/predict/small_proof.hpp"

namespace activeset::frontend {

// memory.multipliers := −Σ p_k·member_k and the newcomer, whose weight is 1.
void SmallDual::weighContradiction(std::size_t newcomer, double sign) {
    std::fill_n(m_.multipliers, m_.shape.rows(), 0.0);
    const double unit = m_.inverseNorm[newcomer];
    const auto set = [&](std::size_t i, double weight) {
        if (i < m_.shape.m) {
            m_.multipliers[i] = weight * (m_.inverseNorm[i] / unit);
        }
    };
    set(newcomer, sign);
    for (std::size_t k = 0; k < factor_.size(); ++k) {
        set(constraintOf(k), -m_.sign[k] * m_.p[k]);
    }
}

// Long before members contradict a newcomer, the multipliers of rows grow. The largest one may
// contradict the bounds alone; all together are asked where it has doubled.
bool SmallDual::doRowsContradict() {
    double largest = 0.0;
    std::size_t most = 0;
    for (std::size_t k = 0; k < factor_.size(); ++k) {
        if (constraintOf(k) < m_.shape.m && std::abs(m_.lambda[k]) > largest) {
            largest = std::abs(m_.lambda[k]);
            most = k;
        }
    }
    if (largest == 0.0 || caps_.areThere()) {
        return false;
    }
    const auto weigh = [this](std::size_t k) {
        const std::size_t i = constraintOf(k);
        return i < m_.shape.m ? m_.multipliers[i] = m_.sign[k] * m_.inverseNorm[i] * m_.lambda[k]
                              : 0.0;
    };
    const std::size_t head = m_.shape.head();
    std::fill_n(m_.multipliers, m_.shape.rows(), 0.0);
    m_.kernels.gather(weigh(most), m_.rowsOfA(), constraintOf(most), 0, head, m_.u);
    if (doBoundsContradict(m_)) {
        return true;
    }
    if (!(largest > 2.0 * asked_)) {
        return false;
    }
    asked_ = largest;
    for (std::size_t k = 0; k < factor_.size(); ++k) {
        static_cast<void>(weigh(k));
    }
    m_.kernels.multiplyTransposed(m_.rowsOfA(), m_.multipliers, m_.u);
    std::fill(m_.u + m_.shape.cols(), m_.u + head, 0.0);
    return doBoundsContradict(m_);
}

}  // namespace activeset::frontend
