#include "benchmarks/kernels.hpp"

#include "host/blas.hpp"

namespace activeset::bench {

Kernels::Kernels(std::size_t n) : n_(n), M_(n * n), x_(n, 1.0), y_(n) {
    for (std::size_t k = 0; k < M_.size(); ++k) {
        M_[k] = 1.0 + 0.001 * static_cast<double>(k % 17);
    }
}

void Kernels::vectorProduct() {
    blas::gemv(Op::None, 1.0, ConstMatrixView(M_.data(), n_, n_), x_.data(), 0.0, y_.data());
}

void Kernels::rotationSweep() {
    for (std::size_t j = 0; j + 1 < n_; ++j) {
        blas::rot(n_, &M_[j * n_], 1, &M_[(j + 1) * n_], 1, {0.8, 0.6, 0.0});
    }
}

void Kernels::matrixProduct() {
    C_.resize(M_.size());
    const ConstMatrixView M(M_.data(), n_, n_);
    blas::gemm(Op::None, Op::None, 1.0, M, M, 0.0, MatrixView(C_.data(), n_, n_));
}

}  // namespace activeset::bench
