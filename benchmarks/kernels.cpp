#include "benchmarks/kernels.hpp"

#include "host/fortran.hpp"

namespace activeset::bench {

Kernels::Kernels(std::size_t n) : n_(n), M_(n * n), x_(n, 1.0), y_(n) {
    for (std::size_t k = 0; k < M_.size(); ++k) {
        M_[k] = 1.0 + 0.001 * static_cast<double>(k % 17);
    }
}

// These call BLAS and LAPACK directly. Where loops of its own are faster, the library uses those.

void Kernels::vectorProduct() {
    const Int n = static_cast<Int>(n_);
    const Int step = 1;
    const double one = 1.0;
    const double zero = 0.0;
    ACTIVESET_FORTRAN(dgemv)
    ("N", &n, &n, &one, M_.data(), &n, x_.data(), &step, &zero, y_.data(), &step, 1);
}

void Kernels::rotationSweep() {
    const Int n = static_cast<Int>(n_);
    const Int step = 1;
    const double c = 0.8;
    const double s = 0.6;
    for (std::size_t j = 0; j + 1 < n_; ++j) {
        ACTIVESET_FORTRAN(drot)(&n, &M_[j * n_], &step, &M_[(j + 1) * n_], &step, &c, &s);
    }
}

void Kernels::matrixProduct() {
    C_.resize(M_.size());
    const Int n = static_cast<Int>(n_);
    const double one = 1.0;
    const double zero = 0.0;
    ACTIVESET_FORTRAN(dgemm)
    ("N", "N", &n, &n, &n, &one, M_.data(), &n, M_.data(), &n, &zero, C_.data(), &n, 1, 1);
}

}  // namespace activeset::bench
