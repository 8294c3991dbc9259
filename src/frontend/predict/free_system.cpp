// Factors of the free variables and of the rows among them.
#include "frontend/predict/free_system.hpp"

#include <utility>

#include "frontend/algebra/dense_views.hpp"
#include "frontend/problem/submatrices.hpp"
#include "host/lapack.hpp"

namespace activeset::frontend {

bool FreeSystem::setSets(const List& F, const List& R) {
    if (isFactorised_ && F == F_ && R == R_) {
        return true;
    }
    const bool hasFactor = isFactorised_ && F == F_;
    isFactorised_ = false;
    F_ = F;
    R_ = R;
    isFactorised_ = (hasFactor || factoriseFree()) && factoriseRows();
    return isFactorised_;
}

bool FreeSystem::factoriseFree() {
    const std::size_t count = F_.size();
    L_ = Dense::unwritten(count);
    for (std::size_t j = 0; j < count; ++j) {
        const double* column = data_.columnOfH(F_[j]);
        double* target = L_.column(j);
        for (std::size_t i = j; i < count; ++i) {
            target[i] = column[F_[i]];
        }
    }
    return factoriseLower(L_, 0.0);
}

bool FreeSystem::factoriseRows() {
    constexpr double DependentSchurPivot = 1e-13;  // in proportion to the largest diagonal entry
    Q_ = gradientsOf(data_, R_, F_);
    S_ = Dense(R_.size(), R_.size());
    if (R_.empty()) {
        return true;
    }
    if (F_.size() < R_.size()) {
        return false;
    }
    solveLower(L_, Q_.values.data(), R_.size());
    blas::gram(viewOf(Q_), Block(S_.values.data(), R_.size(), R_.size()));
    return factoriseLower(S_, DependentSchurPivot);
}

bool FreeSystem::isFactorisedFor(const List& F, const List& R, double tolerance) const {
    return isFactorised_ && F == F_ && R == R_ && hasClearPivots(L_, tolerance) &&
           hasClearPivots(S_, tolerance);
}

void FreeSystem::solve(Vector& f, Vector& r) const {
    blas::trsvLower(Op::None, viewOf(L_), f.data());
    if (!r.empty()) {
        Vector y = transposedProduct(Q_, f);
        axpy(-1.0, r.data(), y.data(), y.size());
        blas::trsvLower(Op::None, viewOf(S_), y.data());
        blas::trsvLower(Op::Transpose, viewOf(S_), y.data());
        blas::gemv(Op::None, -1.0, viewOf(Q_), y.data(), 1.0, f.data());
        r = std::move(y);
    }
    blas::trsvLower(Op::Transpose, viewOf(L_), f.data());
}

void addHessianColumns(const ProblemData& data,
                       const std::vector<std::size_t>& list,
                       const double* x,
                       double* v) {
    std::size_t k = 0;
    for (; k + 4 <= list.size(); k += 4) {
        const double* a = data.columnOfH(list[k]);
        const double* b = data.columnOfH(list[k + 1]);
        const double* c = data.columnOfH(list[k + 2]);
        const double* d = data.columnOfH(list[k + 3]);
        const double xa = x[list[k]];
        const double xb = x[list[k + 1]];
        const double xc = x[list[k + 2]];
        const double xd = x[list[k + 3]];
        for (std::size_t i = 0; i < data.n; ++i) {
            v[i] += (xa * a[i] + xb * b[i]) + (xc * c[i] + xd * d[i]);
        }
    }
    for (; k < list.size(); ++k) {
        axpy(x[list[k]], data.columnOfH(list[k]), v, data.n);
    }
}

}  // namespace activeset::frontend
