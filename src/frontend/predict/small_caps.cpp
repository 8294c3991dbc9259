// Takes penalties over, and turns sides round.
#include "frontend/predict/small_caps.hpp"

#include <algorithm>

namespace activeset::frontend {

namespace {

bool isCurved(const VectorView& quadratic) {
    double sum = 0.0;
    for (std::size_t i = 0; i < quadratic.size(); ++i) {
        sum += quadratic[i];
    }
    return sum != 0.0;  // none is negative
}

/// Multipliers of images of length 1. Of rows of zeros it is infinite, or NaN, which no multiplier
/// reaches.
void copyCaps(const VectorView& linear,
              const double* inverseNorm,
              std::size_t count,
              double* caps) {
    if (linear.empty()) {
        std::fill_n(caps, count, Infinity);
        return;
    }
    const double* const from = linear.data();
    for (std::size_t k = 0; k < count; ++k) {
        caps[k] = from[k] / inverseNorm[k];
    }
}

}  // namespace

bool SmallCaps::load(const Problem& problem) {
    const SmallShape& shape = m_.shape;
    lower_.resize(shape.constraints());
    upper_.resize(shape.constraints());
    sides_.resize(shape.constraints());
    beyond_.assign(shape.constraints(), 0);
    turned_ = 0;
    areThere_ =
        take(problem.rowPenalty, 0, shape.m) && take(problem.boundPenalty, shape.rows(), shape.n);
    return areThere_;
}

bool SmallCaps::take(const Penalty& penalty, std::size_t first, std::size_t count) {
    if (isCurved(penalty.lowerQuadratic) || isCurved(penalty.upperQuadratic)) {
        return false;
    }
    copyCaps(penalty.lowerLinear, m_.inverseNorm + first, count, &lower_[first]);
    copyCaps(penalty.upperLinear, m_.inverseNorm + first, count, &upper_[first]);
    bool areUnequal = true;
    for (std::size_t i = first; i < first + count && m_.equalities > 0; ++i) {
        areUnequal = areUnequal && (m_.lower[i] != m_.upper[i] ||
                                    (lower_[i] == Infinity && upper_[i] == Infinity));
    }
    return areUnequal;
}

void SmallCaps::turn(std::size_t i, double sign) {
    m_.kernels.addScaled(of(i, sign), m_.g, m_.w, m_.shape.head());
    if (beyond_[i] != 0) {
        const Sides& sides = sides_[i];
        m_.lower[i] = sides.lower;
        m_.upper[i] = sides.upper;
        m_.lowest[i] = sides.lowest;
        m_.highest[i] = sides.highest;
        beyond_[i] = 0;
        --turned_;
        return;
    }
    ++turned_;
    sides_[i] = {m_.lower[i], m_.upper[i], m_.lowest[i], m_.highest[i]};
    if (sign > 0.0) {
        m_.lower[i] = m_.upper[i];
        m_.lowest[i] = m_.upper[i] - (m_.highest[i] - m_.upper[i]);
        m_.upper[i] = m_.highest[i] = Infinity;
        beyond_[i] = 1;
    } else {
        m_.upper[i] = m_.lower[i];
        m_.highest[i] = m_.lower[i] + (m_.lower[i] - m_.lowest[i]);
        m_.lower[i] = m_.lowest[i] = -Infinity;
        beyond_[i] = -1;
    }
}

}  // namespace activeset::frontend
