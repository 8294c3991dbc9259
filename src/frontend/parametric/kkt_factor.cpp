// Schur complement and null-space method (Nocedal and Wright 2006, Numerical Optimization, 16.2).
#include "frontend/parametric/kkt_factor.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "frontend/algebra/pivoted_qr.hpp"
#include "frontend/parametric/working_system.hpp"
#include "host/lapack.hpp"

namespace activeset::frontend {

namespace {

BasicBlock<double> viewOf(Dense& matrix) {
    return {matrix.values.data(), matrix.rows, matrix.cols};
}

BasicBlock<const double> viewOf(const Dense& matrix) {
    return {matrix.values.data(), matrix.rows, matrix.cols};
}

// c += factor·op(a)·b
void addTo(Dense& c, double factor, Op op, const Dense& a, const Dense& b) {
    if (c.values.empty() || b.rows == 0) {
        return;
    }
    if (c.cols == 1) {
        blas::gemv(op, factor, viewOf(a), b.values.data(), 1.0, c.values.data());
    } else {
        blas::gemm(op, Op::None, factor, viewOf(a), viewOf(b), 1.0, viewOf(c));
    }
}

Dense transposed(const Dense& a) {
    Dense result(a.cols, a.rows);
    for (std::size_t j = 0; j < a.cols; ++j) {
        for (std::size_t i = 0; i < a.rows; ++i) {
            result(j, i) = a(i, j);
        }
    }
    return result;
}

// Two blocks of rows, the first `top` and the others.
std::pair<Dense, Dense> split(const Dense& b, std::size_t top) {
    std::pair<Dense, Dense> parts{Dense(top, b.cols), Dense(b.rows - top, b.cols)};
    for (std::size_t k = 0; k < b.cols; ++k) {
        const double* column = b.column(k);
        std::copy(column, column + top, parts.first.column(k));
        std::copy(column + top, column + b.rows, parts.second.column(k));
    }
    return parts;
}

// The pseudo-inverse of Bᵀ, B with the orthonormal basis Y (first `rank` columns of Q).
Dense pseudoInverse(const PivotedQr& qr, const Dense& B) {
    const std::size_t rank = qr.rank();
    Dense Y(B.rows, rank);
    Dense inner(rank, B.cols);  // S⁻ᵀPᵀ, or (TTᵀ)⁻¹T with T = YᵀB
    for (std::size_t k = 0; k < rank; ++k) {
        Y(k, k) = 1.0;
        qr.apply(Y.column(k));
    }
    if (rank == B.cols) {
        for (std::size_t k = 0; k < rank; ++k) {
            double* column = inner.column(qr.pivot(k));
            column[k] = 1.0;
            qr.solveTransposed(column);
        }
    } else {
        inner = transposedProduct(Y, B);
        const Dense transpose = transposed(inner);
        Dense gram = transposedProduct(transpose, transpose);
        static_cast<void>(factoriseUpper(gram, 0.0));
        solveUpperTransposed(gram, inner.values.data(), inner.cols);
        solveUpper(gram, inner.values.data(), inner.cols);
    }
    return product(Y, inner);
}

}  // namespace

KktFactor::KktFactor(const ProblemData& data,
                     std::vector<std::size_t> free,
                     std::vector<std::size_t> rows)
    : free_(std::move(free)),
      rows_(std::move(rows)),
      H_(free_.size(), free_.size()),
      A_(rows_.size(), free_.size()) {
    for (std::size_t j = 0; j < free_.size(); ++j) {
        for (std::size_t i = 0; i < free_.size() && data.quadratic; ++i) {
            H_(i, j) = data.columnOfH(free_[j])[free_[i]];
        }
        for (std::size_t i = 0; i < rows_.size(); ++i) {
            A_(i, j) = data.columnOfA(free_[j])[rows_[i]];
        }
    }
    bySchur_ = data.quadratic && factoriseSchur();
    if (!bySchur_) {
        factoriseNullSpace();
    }
}

bool KktFactor::factoriseSchur() {
    if (rows_.size() > free_.size()) {
        return false;
    }
    U_ = H_;
    if (!factoriseUpper(U_, LeastSchurPivot)) {
        return false;
    }
    G_ = transposed(A_);
    solveUpperTransposed(U_, G_.values.data(), G_.cols);
    S_ = transposedProduct(G_, G_);
    return factoriseUpper(S_, LeastSchurPivot);
}

void KktFactor::factoriseNullSpace() {
    if (free_.empty()) {
        dependent_ = rows_.size();
        return;
    }
    const Dense B = transposed(A_);
    const PivotedQr qr(B);
    dependent_ = rows_.size() - qr.rank();
    pinv_ = pseudoInverse(qr, B);
    factoriseReduced(qr.nullSpace());
}

// ZᵀHZ = P·L·Lᵀ·Pᵀ for the positive pivots; C = L⁻¹(ZP)ᵀ, or (LᵀL)⁻¹Lᵀ(ZP)ᵀ for a
// trapezoidal L.
void KktFactor::factoriseReduced(const Dense& Z) {
    constexpr double FlatPivot = 1e-11;  // of the largest diagonal entry of H_FF
    const std::size_t nz = Z.cols;
    Dense M = transposedProduct(Z, product(H_, Z));
    std::vector<Int> pivots(nz, 0);
    Int rank = 0;
    if (nz != 0 && largestDiagonal(H_) > 0.0) {
        lapack::pstrf(viewOf(M), pivots.data(), &rank, FlatPivot * largestDiagonal(H_));
    }
    const auto sigma = static_cast<std::size_t>(rank);
    flat_ = nz - sigma;
    if (sigma == 0) {
        flatDirections_ = Z;
        return;
    }
    Dense ZP(nz, free_.size());  // transposed
    Dense upper(sigma, nz);      // Lᵀ
    for (std::size_t k = 0; k < nz; ++k) {
        const double* column = Z.column(static_cast<std::size_t>(pivots[k] - 1));
        for (std::size_t i = 0; i < free_.size(); ++i) {
            ZP(k, i) = column[i];
        }
        for (std::size_t i = 0; i < std::min(k + 1, sigma); ++i) {
            upper(i, k) = M(k, i);
        }
    }
    C_ = ZP;
    if (flat_ == 0) {
        solveUpperTransposed(upper, C_.values.data(), C_.cols);
        return;
    }
    const Dense L = transposed(upper);
    Dense gram = transposedProduct(L, L);
    static_cast<void>(factoriseUpper(gram, 0.0));
    C_ = product(upper, ZP);
    solveUpperTransposed(gram, C_.values.data(), C_.cols);
    solveUpper(gram, C_.values.data(), C_.cols);
    flatDirections_ = transposedProduct(ZP, PivotedQr(L).nullSpace());
}

void KktFactor::applySchur(Dense& u, Dense& v) const {
    solveUpperTransposed(U_, u.values.data(), u.cols);
    for (double& entry : v.values) {
        entry = -entry;
    }
    addTo(v, 1.0, Op::Transpose, G_, u);
    if (v.rows != 0) {
        solveUpperTransposed(S_, v.values.data(), v.cols);
        solveUpper(S_, v.values.data(), v.cols);
    }
    addTo(u, -1.0, Op::None, G_, v);
    solveUpper(U_, u.values.data(), u.cols);
}

void KktFactor::applyNullSpace(Dense& u, Dense& v) const {
    Dense point(u.rows, u.cols);
    addTo(point, 1.0, Op::None, pinv_, v);
    Dense rest = u;
    addTo(rest, -1.0, Op::None, H_, point);
    Dense reduced(C_.rows, u.cols);
    addTo(reduced, 1.0, Op::None, C_, rest);
    addTo(point, 1.0, Op::Transpose, C_, reduced);
    addTo(u, -1.0, Op::None, H_, point);
    v.values.assign(v.values.size(), 0.0);
    addTo(v, 1.0, Op::Transpose, pinv_, u);
    u = std::move(point);
}

void KktFactor::apply(Dense& u, Dense& v) const {
    if (u.rows == 0) {
        v.values.assign(v.values.size(), 0.0);
    } else if (bySchur_) {
        applySchur(u, v);
    } else {
        applyNullSpace(u, v);
    }
}

void KktFactor::solve(Dense& b) const {
    auto [u, v] = split(b, free_.size());
    auto [restU, restV] = std::pair(u, v);
    apply(u, v);
    addTo(restU, -1.0, Op::None, H_, u);
    addTo(restU, -1.0, Op::Transpose, A_, v);
    addTo(restV, -1.0, Op::None, A_, u);
    apply(restU, restV);
    for (std::size_t k = 0; k < b.cols; ++k) {
        double* column = b.column(k);
        for (std::size_t i = 0; i < u.rows; ++i) {
            column[i] = u(i, k) + restU(i, k);
        }
        for (std::size_t i = 0; i < v.rows; ++i) {
            column[u.rows + i] = v(i, k) + restV(i, k);
        }
    }
}

}  // namespace activeset::frontend
