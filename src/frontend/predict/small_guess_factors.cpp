// The factors on which the guess of the small road works: of H, as the proof of convexity, then of
// the free variables and of the rows among them.
#include <algorithm>
#include <functional>

#include "frontend/algebra/cholesky.hpp"
#include "frontend/algebra/dense.hpp"
#include "frontend/predict/small_guess.hpp"
#include "frontend/problem/bound_rounding.hpp"
#include "host/blas.hpp"

namespace activeset::frontend {

namespace {

// With smaller pivots of H, in proportion to the largest, the iteration is likely to cycle.
constexpr double LeastClearPivot = 1e-7;
constexpr double DependentSchurPivot = 1e-13;  // in proportion to the largest diagonal entry

/// Squared pivots of a lower Cholesky factor.
template <class Accept>
bool areAllPivots(const double* L, std::size_t n, std::size_t ld, Accept accept) {
    for (std::size_t k = 0; k < n; ++k) {
        if (!accept(k, L[k * (ld + 1)] * L[k * (ld + 1)])) {
            return false;
        }
    }
    return true;
}

}  // namespace

// The factor of H is needed for nothing else.
bool SmallGuess::isClearlyConvex() {
    const SmallShape& shape = m_.shape;
    const std::size_t head = shape.head();
    for (std::size_t j = 0; j < shape.n; ++j) {
        const double* const column = m_.data + j * shape.height();
        std::copy(column + j, column + shape.n, m_.images + j * head + j);
    }
    if (!choleskyInPlace({m_.images, shape.n, head, m_.Q})) {
        return false;
    }
    double most = 0.0;
    return areAllPivots(m_.images, shape.n, head,
                        [&](std::size_t k, double pivot) {
                            most = std::max(most, pivot);
                            return pivot > SmallestPivot * m_.data[k * (shape.height() + 1)];
                        }) &&
           areAllPivots(m_.images, shape.n, head,
                        [&](std::size_t, double pivot) { return pivot > LeastClearPivot * most; });
}

// In the place of the images: L of H_FF = LLᵀ, the identity behind it up to a multiple of eight.
bool SmallGuess::factoriseFree() {
    const SmallShape& shape = m_.shape;
    const std::size_t head = shape.head();
    const std::size_t count = F_.size();
    const std::size_t padded = SmallShape::upTo(count, 8);
    double* const L = m_.images;
    for (std::size_t k = 0; k < count; ++k) {
        const double* const column = m_.data + F_[k] * shape.height();
        for (std::size_t i = k; i < count; ++i) {
            L[k * head + i] = column[F_[i]];
        }
        std::fill(L + k * head + count, L + k * head + padded, 0.0);
    }
    for (std::size_t k = count; k < padded; ++k) {
        std::fill(L + k * head + k, L + k * head + padded, 0.0);
        L[k * (head + 1)] = 1.0;
    }
    return choleskyInPlace({L, padded, head, m_.Q});
}

// Behind it Q = L⁻¹A_RFᵀ, zeros behind that, then the factor of QᵀQ. False where rows depend on
// others.
bool SmallGuess::factoriseRows() {
    const SmallShape& shape = m_.shape;
    const std::size_t head = shape.head();
    const std::size_t count = F_.size();
    const std::size_t padded = SmallShape::upTo(count, 8);
    const std::size_t rows = R_.size();
    if (rows > count) {
        return false;
    }
    const double* const L = m_.images;
    double* const Q = m_.images + head * head;
    double* const S = Q + head * rows;
    for (std::size_t k = 0; k < rows; ++k) {
        for (std::size_t i = 0; i < count; ++i) {
            Q[k * head + i] = m_.data[F_[i] * shape.height() + head + R_[k]];
        }
        std::fill(Q + k * head + count, Q + k * head + padded, 0.0);
        m_.kernels.solveLower(L, padded, head, Q + k * head);
        for (std::size_t i = 0; i <= k; ++i) {
            S[i * rows + k] = m_.kernels.dot(Q + i * head, Q + k * head, padded);
        }
    }
    double most = 0.0;
    for (std::size_t k = 0; k < rows; ++k) {
        most = std::max(most, S[k * (rows + 1)]);
    }
    return rows == 0 || (choleskyInPlace({S, rows, rows, m_.Q}) &&
                         areAllPivots(S, rows, rows, [&](std::size_t, double pivot) {
                             return pivot > DependentSchurPivot * most;
                         }));
}

void SmallGuess::solve(double* f, double* r) {
    const SmallKernels& kernels = m_.kernels;
    const std::size_t head = m_.shape.head();
    const std::size_t rows = R_.size();
    const std::size_t padded = SmallShape::upTo(F_.size(), 8);
    const SmallMatrix Q{m_.images + head * head, padded, rows, head, padded};
    std::fill(f + F_.size(), f + padded, 0.0);
    kernels.solveLower(m_.images, padded, head, f);
    if (rows > 0) {
        const ConstBlock S(Q.data + head * rows, rows, rows);
        kernels.multiplyTransposed(Q, f, m_.z);
        std::transform(m_.z, m_.z + rows, r, r, std::minus<>());
        blas::trsvLower(Op::None, S, r);
        blas::trsvLower(Op::Transpose, S, r);
        std::transform(r, r + rows, m_.z, std::negate<>());
        kernels.multiplyAdd(Q, m_.z, f, f);
    }
    kernels.solveLowerTransposed(m_.images, padded, head, f);
}

// The bounds' multipliers take what the step leaves of the residuals there.
void SmallGuessRefinement::findStep() {
    const std::vector<std::size_t>& F = guess_.free();
    const std::size_t rows = guess_.rows().size();
    const std::size_t head = m_.shape.head();
    for (std::size_t k = 0; k < F.size(); ++k) {
        m_.u[k] = m_.residual[F[k]];
    }
    for (std::size_t k = 0; k < rows; ++k) {
        m_.r[k] = m_.sign[k] * m_.s[k];
    }
    guess_.solve(m_.u, m_.r);
    std::fill_n(m_.step, head, 0.0);
    for (std::size_t k = 0; k < F.size(); ++k) {
        m_.step[F[k]] = m_.u[k];
    }
    std::fill_n(m_.w, head, 0.0);
    m_.kernels.addColumns(m_.hessian(), m_.step, m_.w);
    m_.kernels.addRows(m_.rowsOfA(), m_.member, m_.r, rows, head, m_.w);
    for (std::size_t k = 0; k < size_; ++k) {
        const std::size_t j = k < rows ? 0 : constraintOf(k) - m_.shape.rows();
        m_.p[k] = m_.sign[k] * (k < rows ? -m_.r[k] : m_.w[j] - m_.residual[j]);
    }
}

// Also free ones that rounding has moved beyond a bound.
void SmallGuessRefinement::moveToBounds() {
    SmallRefinement::moveToBounds();
    const double* const lower = m_.lower + m_.shape.rows();
    const double* const upper = m_.upper + m_.shape.rows();
    const double rounding = boundRounding(m_.kernels.largest(m_.x, m_.shape.head()));
    for (const std::size_t j : guess_.free()) {
        m_.x[j] = atBoundButFor(rounding, m_.x[j], lower[j], upper[j]);
    }
}

}  // namespace activeset::frontend
