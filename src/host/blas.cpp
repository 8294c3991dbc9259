// The BLAS calls, and the number of threads that they may use.
#include "host/blas.hpp"

#include <cmath>

#include "activeset/host.hpp"
#include "activeset/kernels.hpp"
#include "host/floating_point.hpp"
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
    ACTIVESET_CALL(dgemv)
    (&trans, &a.rows, &a.cols, &alpha, a.data, &a.ld, x, &one, &beta, y, &one, 1);
}

void gemm(Op opA, Op opB, double alpha, ConstBlock a, ConstBlock b, double beta, Block c) {
    const char transA = static_cast<char>(opA);
    const char transB = static_cast<char>(opB);
    const Int inner = opA == Op::None ? a.cols : a.rows;
    if (c.isEmpty()) {
        return;
    }
    ACTIVESET_CALL(dgemm)
    (&transA, &transB, &c.rows, &c.cols, &inner, &alpha, a.data, &a.ld, b.data, &b.ld, &beta,
     c.data, &c.ld, 1, 1);
}

void gram(ConstBlock a, Block c) {
    if (c.isEmpty()) {
        return;
    }
    const double one = 1.0;
    const double zero = 0.0;
    ACTIVESET_CALL(dsyrk)
    ("U", "T", &c.cols, &a.rows, &one, a.data, &a.ld, &zero, c.data, &c.ld, 1, 1);
    for (Int j = 0; j < c.cols; ++j) {
        for (Int i = 0; i < j; ++i) {
            c.data[i * c.ld + j] = c.data[j * c.ld + i];
        }
    }
}

void subtractGram(ConstBlock a, Block c) {
    if (c.isEmpty() || a.isEmpty()) {
        return;
    }
    const double minusOne = -1.0;
    const double one = 1.0;
    ACTIVESET_CALL(dsyrk)
    ("U", "T", &c.cols, &a.rows, &minusOne, a.data, &a.ld, &one, c.data, &c.ld, 1, 1);
}

void trsvUpper(Op op, ConstBlock r, double* x) {
    if (r.cols <= small::LargestSolve) {
        if (op == Op::None) {
            small::solveUpper(r, x);
        } else {
            small::solveUpperTransposed(r, x);
        }
        return;
    }
    const char trans = static_cast<char>(op);
    const Int one = 1;
    ACTIVESET_CALL(dtrsv)("U", &trans, "N", &r.cols, r.data, &r.ld, x, &one, 1, 1, 1);
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
    ACTIVESET_CALL(dtrsv)("L", &trans, "N", &l.cols, l.data, &l.ld, x, &one, 1, 1, 1);
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

// The embedded BLAS starts with one thread, whatever the environment says: it is built that way.
#ifdef ACTIVESET_EMBEDDED_BLAS

void setBlasThreads(int count) noexcept {
    const FloatingPointGuard environment;  // which the threads inherit
    activeset_openblas_set_num_threads(1 + BlasBuffer::reserve(std::max(count, 1) - 1));
}

int blasThreads() noexcept {
    return activeset_openblas_get_num_threads();
}

const char* blasKernel() noexcept {
    return activeset_openblas_get_corename();
}

#else

void setBlasThreads(int /*count*/) noexcept {}

int blasThreads() noexcept {
    return 1;
}

const char* blasKernel() noexcept {
    return "reference";
}

#endif

}  // namespace activeset
