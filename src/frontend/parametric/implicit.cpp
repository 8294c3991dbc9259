// Takes out held bounds, solves for the other variables, and reads the multipliers of bounds off
// the gradient.
#include "frontend/parametric/implicit.hpp"

#include <algorithm>
#include <span>
#include <utility>

#include "host/blas.hpp"

namespace activeset::frontend {

namespace {

using Constant = BasicBlock<const double>;

// c += factor·op(a)·b, a without gaps.
void addTo(Dense& c,
           double factor,
           Op op,
           std::span<const double> a,
           std::size_t rows,
           std::size_t cols,
           const Dense& b) {
    if (a.empty() || b.values.empty() || c.values.empty()) {
        return;
    }
    if (b.cols == 1) {
        blas::gemv(op, factor, Constant(a.data(), rows, cols), b.values.data(), 1.0,
                   c.values.data());
        return;
    }
    blas::gemm(op, Op::None, factor, Constant(a.data(), rows, cols),
               Constant(b.values.data(), b.rows, b.cols), 1.0, {c.values.data(), c.rows, c.cols});
}

bool isZero(const Dense& a) {
    return std::all_of(a.values.begin(), a.values.end(), [](double entry) { return entry == 0.0; });
}

}  // namespace

Implicit::Implicit(Optimum optimum, Factors factors)
    : optimum_(std::move(optimum)),
      kept_(factors == Factors::Kept ? optimum_.keptSystem() : nullptr) {
    if (kept_ == nullptr) {
        factor_.emplace(optimum_.data, optimum_.freeVariables(), optimum_.heldRows());
    }
}

Derivative Implicit::derivative() const {
    return !isRegular()                                               ? Derivative::LeastSquares
           : optimum_.weakRows.empty() && optimum_.weakBounds.empty() ? Derivative::Full
                                                                      : Derivative::OneSided;
}

void Implicit::solve(Triple& b) const {
    if (kept_ != nullptr) {
        solveByKept(b);
    } else {
        solveByFactor(b);
    }
}

void Implicit::solveByKept(Triple& b) const {
    for (std::size_t k = 0; k < b.x.cols; ++k) {
        kept_->solve(b.x.column(k), b.y.column(k), b.z.column(k));
    }
}

void Implicit::solveByFactor(Triple& b) const {
    const ProblemData& data = optimum_.data;
    const std::size_t n = data.n;
    const std::size_t m = data.m;
    const std::size_t count = b.x.cols;
    const std::vector<std::size_t>& free = factor_->free();
    const std::vector<std::size_t>& rows = factor_->rows();
    Dense fixed(n, count);  // x at held bounds, 0 elsewhere
    for (std::size_t k = 0; k < count; ++k) {
        for (std::size_t j = 0; j < n; ++j) {
            fixed(j, k) = isHeld(optimum_.bounds[j]) ? b.z(j, k) : 0.0;
        }
    }
    if (!isZero(fixed)) {
        addTo(b.x, -1.0, Op::None, data.H, n, n, fixed);
        addTo(b.y, -1.0, Op::None, data.A, m, n, fixed);
    }
    Dense system(factor_->order(), count);
    for (std::size_t k = 0; k < count; ++k) {
        double* column = system.column(k);
        for (const std::size_t j : free) {
            *column++ = b.x(j, k);
        }
        for (const std::size_t i : rows) {
            *column++ = b.y(i, k);
        }
    }
    factor_->solve(system);
    Dense change(n, count);
    b.y.values.assign(b.y.values.size(), 0.0);
    for (std::size_t k = 0; k < count; ++k) {
        const double* column = system.column(k);
        for (const std::size_t j : free) {
            change(j, k) = *column++;
        }
        for (const std::size_t i : rows) {
            b.y(i, k) = *column++;
        }
    }
    b.z = std::move(b.x);
    addTo(b.z, -1.0, Op::None, data.H, n, n, change);
    addTo(b.z, -1.0, Op::Transpose, data.A, m, n, b.y);
    for (std::size_t k = 0; k < count; ++k) {
        for (const std::size_t j : free) {
            b.z(j, k) = 0.0;
        }
        axpy(1.0, fixed.column(k), change.column(k), n);
    }
    b.x = std::move(change);
}

}  // namespace activeset::frontend
