// Gram-Schmidt; plane rotations where a member leaves.
#include "frontend/predict/small_factor.hpp"

#include <algorithm>
#include <cmath>

namespace activeset::frontend {

SmallMatrix SmallFactor::orthogonal() const {
    const std::size_t head = m_.shape.head();
    return {m_.Q, head, size_, head, head};
}

SmallMatrix SmallFactor::inverse() const {
    return {m_.T, SmallShape::upTo(size_, 8), size_, m_.shape.head(), 0};
}

// NOLINTNEXTLINE(readability-make-member-function-const): it writes the memory
double SmallFactor::project() {
    const std::size_t head = m_.shape.head();
    if (size_ == 0) {
        std::copy_n(m_.g, head, m_.u);
        return m_.kernels.dot(m_.u, m_.u, head);
    }
    return m_.kernels.project(orthogonal(), inverse(), m_.g, {m_.r, m_.u, m_.p});
}

void SmallFactor::append(double squaredNorm) {
    const std::size_t head = m_.shape.head();
    const double inverse = 1.0 / std::sqrt(squaredNorm);
    double* const q = m_.Q + size_ * head;
    double* const t = m_.T + size_ * head;
    for (std::size_t i = 0; i < head; ++i) {
        q[i] = m_.u[i] * inverse;
    }
    std::fill_n(t, SmallShape::upTo(size_ + 1, 8), 0.0);
    for (std::size_t k = 0; k < size_; ++k) {
        t[k] = -m_.p[k] * inverse;
    }
    t[size_++] = inverse;
}

// Rotations of neighbouring columns leave row `position` of T with its last entry only; then that
// row and the last column go.
void SmallFactor::remove(std::size_t position, double* coefficients) {
    const std::size_t head = m_.shape.head();
    for (std::size_t k = position; k + 1 < size_; ++k) {
        double* const first = m_.T + k * head;
        double* const second = first + head;
        const double length =
            std::sqrt(first[position] * first[position] + second[position] * second[position]);
        const double c = second[position] / length;
        const double s = first[position] / length;
        std::fill_n(first + SmallShape::upTo(k + 1, 8),
                    SmallShape::upTo(k + 2, 8) - SmallShape::upTo(k + 1, 8), 0.0);
        m_.kernels.rotate(c, s, first, second, SmallShape::upTo(k + 2, 8));
        m_.kernels.rotate(c, s, m_.Q + k * head, m_.Q + (k + 1) * head, head);
        const double before = coefficients[k];
        coefficients[k] = c * before - s * coefficients[k + 1];
        coefficients[k + 1] = s * before + c * coefficients[k + 1];
        std::copy(first + position + 1, first + k + 2, first + position);
        first[k + 1] = 0.0;
    }
    --size_;
}

}  // namespace activeset::frontend
