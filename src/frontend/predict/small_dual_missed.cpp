// What the dual method of the small road does about sides that the refined point misses.
#include <algorithm>
#include <cmath>
#include <vector>

#include "frontend/algebra/largest.hpp"
#include "frontend/predict/small_dual.hpp"
#include "frontend/proof/certificate.hpp"

namespace activeset::frontend {

// Where the value of constraint i is larger by `move`, which is exact to within `rounding`.
bool SmallDual::isBeyond(std::size_t i, double tolerance, double move, double rounding) const {
    const Place place = placeOf(i);
    const double above = place.above(m_.upper[i]) + move;
    const double below = place.below(m_.lower[i]) - move;
    const double side = std::abs(above > below ? m_.upper[i] : m_.lower[i]);
    return std::max(above, below) > tolerance * (place.scale + side) + rounding;
}

// In place of x stands how far it is from the point of memory.x, and sides lose the values there.
// So all that is small has as many digits as any number.
bool SmallDual::settleAround(double tolerance, Control& control) {
    const std::size_t count = m_.shape.constraints();
    const std::size_t before = steps_;
    std::vector<double> saved;
    const auto sides = {m_.lower, m_.upper, m_.lowest, m_.highest};
    for (const double* array : sides) {
        saved.insert(saved.end(), array, array + count);
    }
    leadToSides();
    moveSides(0.5 * tolerance);
    size_ = 0.0;
    const std::optional<End> end = pullUntilSettled(AnyChanges, control);
    auto from = saved.begin();
    for (double* array : sides) {
        std::copy_n(from, count, array);
        from += static_cast<std::ptrdiff_t>(count);
    }
    std::copy_n(m_.x, m_.shape.head(), m_.values + m_.shape.rows());
    return end == End::Optimal && steps_ > before;
}

// NOLINTNEXTLINE(readability-make-member-function-const): it writes the memory
void SmallDual::moveSides(double tolerance) {
    for (std::size_t i = 0; i < m_.shape.constraints(); ++i) {
        const Place place = placeOf(i);
        const double below = tolerance * (place.scale + std::abs(m_.lower[i]));
        const double above = tolerance * (place.scale + std::abs(m_.upper[i]));
        m_.lower[i] = place.below(m_.lower[i]);
        m_.upper[i] = -place.above(m_.upper[i]);
        m_.lowest[i] = m_.lower[i] - below;
        m_.highest[i] = m_.upper[i] + above;
    }
}

// memory.z := the step from the refined point to where all members meet their sides.
void SmallDual::leadToSides() {
    const std::size_t size = factor_.size();
    std::fill_n(m_.s, SmallShape::upTo(size, 8), 0.0);
    for (std::size_t k = 0; k < size; ++k) {
        const std::size_t i = constraintOf(k);
        const Place place = placeOf(i);
        m_.s[k] = m_.inverseNorm[i] *
                  (m_.sign[k] > 0.0 ? -place.above(m_.upper[i]) : -place.below(m_.lower[i]));
    }
    leadInto(m_.s, m_.z);
}

bool SmallDual::areSidesMetNearby() {
    constexpr double NearbyPoint = 1e-6;    // in proportion to the largest variable
    constexpr double MoveRounding = 1e-13;  // in proportion to the norms of image and step
    const SmallShape& shape = m_.shape;
    leadToSides();
    static_cast<void>(
        m_.kernels.price(images(), m_.z, m_.lowest, m_.highest, m_.inverseNorm, m_.values));
    const double length = std::sqrt(m_.kernels.dot(m_.z, m_.z, shape.head()));
    for (std::size_t i = 0; i < shape.constraints(); ++i) {
        const double norm = ratio(1.0, m_.inverseNorm[i]);
        if (isBeyond(i, NegligibleMiss, m_.values[i], MoveRounding * norm * length)) {
            return false;
        }
    }
    return m_.kernels.largest(m_.values + shape.rows(), shape.head()) <=
           NearbyPoint * m_.kernels.largest(m_.x, shape.head());
}

}  // namespace activeset::frontend
