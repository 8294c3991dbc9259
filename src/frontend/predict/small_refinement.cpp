// With the residuals r₁ = −(Hx + c + Aᵀy + z) and r₂ = side − value, in the metric of the images:
// d = L⁻¹r₁, t = Qᵀd − Tᵀr₂; the multipliers move by T·t, and x by L⁻ᵀ(d − Q·t).
#include "frontend/predict/small_refinement.hpp"

#include <algorithm>
#include <cmath>

#include "frontend/predict/small_sum.hpp"

namespace activeset::frontend {

SmallMatrix SmallRefinement::data() const {
    const std::size_t height = m_.shape.height();
    return {m_.data, height, m_.shape.cols(), height, height};
}

void SmallRefinement::begin() {
    std::copy_n(m_.values + m_.shape.rows(), m_.shape.head(), m_.x);
    moveToBounds();
    std::fill_n(m_.multipliers, m_.shape.constraints(), 0.0);
    setMultipliers();
    formSums();
}

void SmallRefinement::moveToBounds() {
    for (std::size_t k = 0; k < dual_.factor().size(); ++k) {
        const std::size_t i = dual_.constraintOf(k);
        if (!isRow(i)) {
            m_.x[i - m_.shape.rows()] = m_.sign[k] > 0.0 ? m_.upper[i] : m_.lower[i];
        }
    }
}

// What rounding leaves on the wrong side of zero is zero.
void SmallRefinement::setMultipliers() {
    for (std::size_t k = 0; k < dual_.factor().size(); ++k) {
        if (m_.isEquality[k] == 0.0 && m_.lambda[k] < 0.0) {
            m_.lambda[k] = 0.0;
        }
        const std::size_t i = dual_.constraintOf(k);
        m_.multipliers[i] = m_.sign[k] * m_.inverseNorm[i] * m_.lambda[k];
    }
}

// memory.g := row i of A.
void SmallRefinement::gatherRow(std::size_t i) {
    const SmallMatrix all = data();
    const double* entry = all.data + m_.shape.head() + i;
    for (std::size_t j = 0; j < all.cols; ++j, entry += all.leading) {
        m_.g[j] = *entry;
    }
}

void SmallRefinement::formSums() {
    const std::size_t head = m_.shape.head();
    kernels_.exactProduct(data(), m_.x, m_.products);
    for (double* sums : {m_.pull.value, m_.pull.rest, m_.pull.scale}) {
        std::fill_n(sums, head, 0.0);
    }
    for (std::size_t k = 0; k < dual_.factor().size(); ++k) {
        const std::size_t i = dual_.constraintOf(k);
        if (isRow(i)) {
            gatherRow(i);
            kernels_.exactAddScaled(m_.multipliers[i], m_.g, m_.pull, head);
        }
    }
}

// memory.residual := r₁; memory.s := r₂ of the members, in proportion to the norms of their images.
void SmallRefinement::formResiduals() {
    const SmallShape& shape = m_.shape;
    for (std::size_t j = 0; j < shape.head(); ++j) {
        m_.residual[j] = -stationarityOf(m_, j);
    }
    for (std::size_t k = 0; k < dual_.factor().size(); ++k) {
        const std::size_t i = dual_.constraintOf(k);
        const double side = m_.sign[k] > 0.0 ? m_.upper[i] : m_.lower[i];
        const double miss = isRow(i) ? (side - m_.products.value[shape.head() + i]) -
                                           m_.products.rest[shape.head() + i]
                                     : side - m_.x[i - shape.rows()];
        m_.s[k] = m_.sign[k] * m_.inverseNorm[i] * miss;
    }
}

// memory.step := of x, memory.p := of lambda.
void SmallRefinement::findStep() {
    const SmallShape& shape = m_.shape;
    const std::size_t head = shape.head();
    const std::size_t size = dual_.factor().size();
    const SmallMatrix inverse{m_.images + shape.height(), head, shape.cols(), shape.height() + head,
                              0};
    kernels_.multiplyTransposed(inverse, m_.residual, m_.u);
    std::fill(m_.u + shape.cols(), m_.u + head, 0.0);
    if (size > 0) {
        std::fill(m_.s + size, m_.s + SmallShape::upTo(size, 8), 0.0);
        kernels_.multiplyTransposed(dual_.factor().orthogonal(), m_.u, m_.r);
        kernels_.multiplyTransposed(dual_.factor().inverse(), m_.s, m_.p);
        for (std::size_t k = 0; k < size; ++k) {
            m_.s[k] = m_.p[k] - m_.r[k];
        }
        kernels_.multiplyAdd(dual_.factor().orthogonal(), m_.s, m_.u, m_.u);
        kernels_.multiplyAdd(dual_.factor().inverse(), m_.s, nullptr, m_.p);
    }
    kernels_.multiplyAdd(inverse, m_.u, nullptr, m_.step);
}

void SmallRefinement::correct() {
    constexpr double Short = 1e-6;  // a step whose products need no more than double precision
    formResiduals();
    findStep();
    const SmallShape& shape = m_.shape;
    const std::size_t head = shape.head();
    for (std::size_t k = 0; k < dual_.factor().size(); ++k) {
        m_.lambda[k] -= m_.p[k];
    }
    double length = 0.0;
    double size = 0.0;
    std::copy_n(m_.x, head, m_.u);
    for (std::size_t j = 0; j < shape.n; ++j) {
        m_.x[j] += m_.step[j];
    }
    moveToBounds();
    for (std::size_t j = 0; j < head; ++j) {
        m_.step[j] = m_.x[j] - m_.u[j];
        length = std::max(length, std::abs(m_.step[j]));
        size = std::max(size, std::abs(m_.x[j]));
    }
    if (!(length <= Short * size)) {
        setMultipliers();
        formSums();
        return;
    }
    kernels_.multiplyAdd(data(), m_.step, m_.products.rest, m_.products.rest);
    for (std::size_t k = 0; k < dual_.factor().size(); ++k) {
        const std::size_t i = dual_.constraintOf(k);
        m_.p[k] = m_.multipliers[i];
    }
    setMultipliers();
    for (std::size_t k = 0; k < dual_.factor().size(); ++k) {
        const std::size_t i = dual_.constraintOf(k);
        if (isRow(i)) {
            gatherRow(i);
            kernels_.addScaled(m_.multipliers[i] - m_.p[k], m_.g, m_.pull.rest, head);
        }
    }
}

}  // namespace activeset::frontend
