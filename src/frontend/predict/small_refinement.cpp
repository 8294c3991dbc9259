// Corrections by the residuals r₁ = −(Hx + c + Aᵀy + z) and r₂ = side − value.
#include "frontend/predict/small_refinement.hpp"

#include <algorithm>
#include <cmath>

#include "frontend/predict/small_sum.hpp"

namespace activeset::frontend {

void SmallRefinement::begin() {
    std::copy_n(m_.values + m_.shape.rows(), m_.shape.head(), m_.x);
    moveToBounds();
    std::fill_n(m_.multipliers, m_.shape.constraints(), 0.0);
    gatherRows();
    static_cast<void>(setMultipliers());
    formSums();
}

// Columns of A are stored, so that rows are found entry by entry. Most of them are from last time.
void SmallRefinement::gatherRows() {
    const std::size_t head = m_.shape.head();
    for (std::size_t k = 0; k < size_; ++k) {
        const std::size_t i = constraintOf(k);
        if (isRow(i) && m_.gathered[k] != m_.member[k]) {
            m_.kernels.gather(1.0, m_.rowsOfA(), i, 0, head, m_.memberRows + k * head);
            m_.gathered[k] = m_.member[k];
        }
    }
}

SmallMatrix SmallRefinement::memberRows() const {
    const std::size_t head = m_.shape.head();
    return {m_.memberRows, head, size_, head, head};
}

void SmallRefinement::moveToBounds() {
    for (std::size_t k = 0; k < size_; ++k) {
        const std::size_t i = constraintOf(k);
        if (!isRow(i)) {
            m_.x[i - m_.shape.rows()] = m_.sign[k] > 0.0 ? m_.upper[i] : m_.lower[i];
        }
    }
}

// What rounding leaves on the wrong side of zero is zero. memory.r := those of rows, memory.p := by
// how much they change, with zeros for bounds.
bool SmallRefinement::setMultipliers() {
    // A change whose products need no more than double precision, in proportion to the multiplier.
    constexpr double LargestChange = 1e-6;
    bool areNear = true;
    for (std::size_t k = 0; k < size_; ++k) {
        if (m_.isEquality[k] == 0.0 && m_.lambda[k] < 0.0) {
            m_.lambda[k] = 0.0;
        }
        const std::size_t i = constraintOf(k);
        const double multiplier = m_.sign[k] * m_.inverseNorm[i] * m_.lambda[k];
        m_.r[k] = isRow(i) ? multiplier : 0.0;
        m_.p[k] = isRow(i) ? multiplier - m_.multipliers[i] : 0.0;
        m_.multipliers[i] = multiplier;
        areNear = areNear && std::abs(m_.p[k]) <= LargestChange * std::abs(multiplier);
    }
    return areNear;
}

void SmallRefinement::formProducts() {
    m_.kernels.exactProduct(m_.stack(), m_.x, m_.products);
}

void SmallRefinement::formSums() {
    formProducts();
    m_.kernels.exactProduct(memberRows(), m_.r, m_.pull);
}

/// The side of a member less its value.
double SmallRefinement::missOf(std::size_t k) const {
    const std::size_t i = constraintOf(k);
    const double side = m_.sign[k] > 0.0 ? m_.upper[i] : m_.lower[i];
    const std::size_t row = m_.shape.head() + i;
    return isRow(i) ? (side - m_.products.value[row]) - m_.products.rest[row]
                    : side - m_.x[i - m_.shape.rows()];
}

bool SmallRefinement::areRowsMet(double tolerance) const {
    bool areMet = true;
    for (std::size_t k = 0; k < size_; ++k) {
        const std::size_t i = constraintOf(k);
        if (isRow(i)) {
            const double miss = missOf(k);
            const double beyond = m_.isEquality[k] != 0.0 ? std::abs(miss) : -m_.sign[k] * miss;
            const double side = std::abs(m_.sign[k] > 0.0 ? m_.upper[i] : m_.lower[i]);
            areMet =
                areMet && beyond <= tolerance * (m_.products.scale[m_.shape.head() + i] + side);
        }
    }
    return areMet;
}

// memory.residual := r₁; memory.s := r₂ of the members, in proportion to the norms of their images.
void SmallRefinement::formResiduals() {
    const SmallShape& shape = m_.shape;
    m_.kernels.negativeGradient(gradientOf(m_), shape.head(), m_.residual);
    for (std::size_t k = 0; k < size_; ++k) {
        m_.s[k] = m_.sign[k] * m_.inverseNorm[constraintOf(k)] * missOf(k);
    }
}

void SmallImageRefinement::findStep() {
    const SmallShape& shape = m_.shape;
    const std::size_t head = shape.head();
    const std::size_t size = factor_.size();
    const SmallMatrix inverse{m_.images + shape.height(), head, shape.cols(), shape.height() + head,
                              0};
    m_.kernels.multiplyTransposed(inverse, m_.residual, m_.u);
    std::fill(m_.u + shape.cols(), m_.u + head, 0.0);
    if (size > 0) {
        std::fill(m_.s + size, m_.s + SmallShape::upTo(size, 8), 0.0);
        m_.kernels.multiplyTransposed(factor_.orthogonal(), m_.u, m_.r);
        m_.kernels.multiplyTransposed(factor_.inverse(), m_.s, m_.p);
        for (std::size_t k = 0; k < size; ++k) {
            m_.s[k] = m_.p[k] - m_.r[k];
        }
        m_.kernels.multiplyAdd(factor_.orthogonal(), m_.s, m_.u, m_.u);
        m_.kernels.multiplyAdd(factor_.inverse(), m_.s, nullptr, m_.p);
    }
    m_.kernels.multiplyAdd(inverse, m_.u, nullptr, m_.step);
}

void SmallRefinement::correct() {
    // A step whose products need no more than double precision: short for every row and variable,
    // and so for those near 1, where others are far larger.
    constexpr double ShortStep = 1e-6;
    formResiduals();
    findStep();
    const std::size_t head = m_.shape.head();
    for (std::size_t k = 0; k < size_; ++k) {
        m_.lambda[k] -= m_.p[k];
    }
    std::copy_n(m_.x, head, m_.u);
    m_.kernels.addScaled(1.0, m_.step, m_.x, head);
    moveToBounds();
    const SmallStep step = m_.kernels.moved(m_.x, m_.step, m_.u, head);
    if (step.length <= ShortStep * std::min(1.0, step.size)) {
        m_.kernels.addColumns(m_.stack(), m_.step, m_.products.rest);
    } else {
        formProducts();
    }
    if (setMultipliers()) {
        m_.kernels.addColumns(memberRows(), m_.p, m_.pull.rest);
    } else {
        m_.kernels.exactProduct(memberRows(), m_.r, m_.pull);
    }
}

void SmallRefinement::moveToNearBounds(double distance) {
    const SmallShape& shape = m_.shape;
    const double most = distance * std::max(1.0, m_.kernels.largest(m_.x, shape.head()));
    for (std::size_t j = 0; j < shape.n; ++j) {
        for (const double bound : {0.0, m_.lower[shape.rows() + j], m_.upper[shape.rows() + j]}) {
            if (std::abs(m_.x[j] - bound) <= most) {
                m_.x[j] = bound;
            }
        }
    }
    formProducts();
}

void SmallRefinement::dropMultipliers(double share) {
    double largest = 0.0;
    for (std::size_t k = 0; k < size_; ++k) {
        largest = std::max(largest, std::abs(m_.lambda[k]));
    }
    for (std::size_t k = 0; k < size_; ++k) {
        m_.lambda[k] = std::abs(m_.lambda[k]) <= share * largest ? 0.0 : m_.lambda[k];
    }
    static_cast<void>(setMultipliers());
    m_.kernels.exactProduct(memberRows(), m_.r, m_.pull);
}

}  // namespace activeset::frontend
