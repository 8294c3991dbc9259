// What the dual method of the small road does about sides that the refined point misses.
#include <algorithm>
#include <cmath>

#include "frontend/predict/small_dual.hpp"

namespace activeset::frontend {

bool SmallDual::isMissed(std::size_t i, double tolerance) const {
    const std::size_t rows = m_.shape.rows();
    const std::size_t row = m_.shape.head() + i;
    const double value = i < rows ? m_.products.value[row] : m_.x[i - rows];
    const double rest = i < rows ? m_.products.rest[row] : 0.0;
    const double scale = i < rows ? m_.products.scale[row] : std::abs(value);
    const double above = (value - m_.upper[i]) + rest;
    const double below = (m_.lower[i] - value) - rest;
    const double side = std::abs(above > below ? m_.upper[i] : m_.lower[i]);
    return std::max(above, below) > tolerance * (scale + side);
}

// Where more constraints than the members have the point on their sides, it misses some by the
// rounding of the others. The multipliers of these are rounding, too.
bool SmallDual::holdMissed(double tolerance) {
    constexpr double MostRounding = 1e-11;  // in proportion to terms
    const SmallShape& shape = m_.shape;
    const std::size_t before = factor_.size();
    for (std::size_t i = 0; i < shape.constraints(); ++i) {
        if (isMissed(i, MostRounding)) {
            return false;
        }
    }
    for (std::size_t i = 0; i < shape.constraints(); ++i) {
        if (m_.multipliers[i] != 0.0 || !isMissed(i, tolerance)) {
            continue;
        }
        const double sign = signOfNearSide(i);
        if (factor_.size() == shape.n) {
            return false;
        }
        gather(i, sign);
        const double squaredNorm = factor_.project();
        if (squaredNorm < NearlyDependentImage * NearlyDependentImage) {
            return false;
        }
        join(i, sign, squaredNorm, 0.0);
    }
    std::copy_n(m_.x, shape.head(), m_.values + shape.rows());
    return factor_.size() > before;
}

// The point of memory.x has more digits than z, whose terms are larger by 1/ρ and cancel.
bool SmallDual::goesOn(Control& control) {
    const std::size_t before = steps_;
    const std::size_t leading = m_.shape.height() + m_.shape.head();
    size_ = 0.0;
    for (std::size_t j = 0; j < m_.shape.n; ++j) {
        m_.z[j] = m_.x[j] * m_.images[j * (leading + 1)];
    }
    return pullUntilSettled(control) == End::Optimal && steps_ > before;
}

}  // namespace activeset::frontend
