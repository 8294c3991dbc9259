// The BLAS calls, and the number of threads that they may use.
#include "host/blas.hpp"

#include <cmath>

#include "activeset/host.hpp"
#include "host/fortran.hpp"
#include "host/small_kernels.hpp"

namespace activeset::blas {

void gemv(Op op, double alpha, ConstBlock a, const double* x, double beta, double* y) {
    const char trans = static_cast<char>(op);
    const Int one = 1;
    const Int length = op == Op::None ? a.rows : a.cols;
    if (beta == 0.0) {
        std::fill_n(y, length, 0.0);  // so that stale NaN can not survive, nor an empty product
        beta = 1.0;
    }
    if (a.isEmpty()) {
        return;
    }
    if (a.rows * a.cols <= small::LargestProduct && beta == 1.0) {
        if (op == Op::None) {
            small::addProduct(alpha, a, x, y);
        } else {
            small::addTransposedProduct(alpha, a, x, y);
        }
        return;
    }
    ACTIVESET_FORTRAN(dgemv)
    (&trans, &a.rows, &a.cols, &alpha, a.data, &a.ld, x, &one, &beta, y, &one, 1);
}

void gemm(Op opA, Op opB, double alpha, ConstBlock a, ConstBlock b, double beta, Block c) {
    const char transA = static_cast<char>(opA);
    const char transB = static_cast<char>(opB);
    const Int inner = opA == Op::None ? a.cols : a.rows;
    if (c.isEmpty()) {
        return;
    }
    ACTIVESET_FORTRAN(dgemm)
    (&transA, &transB, &c.rows, &c.cols, &inner, &alpha, a.data, &a.ld, b.data, &b.ld, &beta,
     c.data, &c.ld, 1, 1);
}

void gram(ConstBlock a, Block c) {
    if (c.isEmpty()) {
        return;
    }
    const double one = 1.0;
    const double zero = 0.0;
    ACTIVESET_FORTRAN(dsyrk)
    ("U", "T", &c.cols, &a.rows, &one, a.data, &a.ld, &zero, c.data, &c.ld, 1, 1);
    for (Int j = 0; j < c.cols; ++j) {
        for (Int i = 0; i < j; ++i) {
            c.data[i * c.ld + j] = c.data[j * c.ld + i];
        }
    }
}

void trsvLower(Op op, ConstBlock l, double* x) {
    if (l.cols <= small::LargestSolve) {
        if (op == Op::None) {
            small::solveLower(l, x);
        } else {
            small::solveLowerTransposed(l, x);
        }
        return;
    }
    const char trans = static_cast<char>(op);
    const Int one = 1;
    ACTIVESET_FORTRAN(dtrsv)("L", &trans, "N", &l.cols, l.data, &l.ld, x, &one, 1, 1, 1);
}

Rotation rotg(double a, double b) {
    constexpr double Largest = 0x1p400;
    constexpr double Smallest = 0x1p-400;
    const double magnitude = std::max(std::abs(a), std::abs(b));
    int exponent = 0;
    if (!(magnitude >= Smallest && magnitude <= Largest)) {  // NaN as well
        if (a == 0.0 && b == 0.0) {
            return {1.0, 0.0, 0.0};
        }
        if (std::isfinite(magnitude)) {
            exponent = std::ilogb(magnitude);
            a = std::scalbn(a, -exponent);
            b = std::scalbn(b, -exponent);
        }
    }
    const double length = std::sqrt(a * a + b * b);
    const double r = std::signbit(std::abs(a) > std::abs(b) ? a : b) ? -length : length;
    return {a / r, b / r, exponent == 0 ? r : std::scalbn(r, exponent)};
}

void rot(size_t n, double* x, size_t strideX, double* y, size_t strideY, const Rotation& rotation) {
    if (n <= small::LargestRotation) {
        small::rotate(n, x, strideX, y, strideY, rotation);
        return;
    }
    const Int count = static_cast<Int>(n);
    const Int incX = static_cast<Int>(strideX);
    const Int incY = static_cast<Int>(strideY);
    ACTIVESET_FORTRAN(drot)(&count, x, &incX, y, &incY, &rotation.c, &rotation.s);
}

}  // namespace activeset::blas

namespace activeset {

// The private BLAS starts with one thread, whatever the environment says: it is built that way.
#ifdef ACTIVESET_HAS_BLAS_THREADS

void setBlasThreads(int count) noexcept {
    activeset_openblas_set_num_threads(std::max(count, 1));
}

int blasThreads() noexcept {
    return activeset_openblas_get_num_threads();
}

#else

void setBlasThreads(int /*count*/) noexcept {}

int blasThreads() noexcept {
    return 1;
}

#endif

}  // namespace activeset
