#include "benchmarks/work_counts.hpp"

#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <new>

#include "host/fortran.hpp"
#include "nullspace/reduced_hessian.hpp"

namespace activeset::bench {

namespace {

struct Counter {
    bool isOn = false;
    Work work{};
    std::int64_t bytes = 0;
};

constinit thread_local Counter counter;

void count(double Work::*kind, double flops) noexcept {
    if (counter.isOn) {
        ++counter.work.calls;
        counter.work.*kind += flops;
    }
}

double real(const Int* size) noexcept {
    return static_cast<double>(*size);
}

// A QR factorisation of m × n; none when only the size of the workspace is asked for.
double factorFlops(const Int* rows, const Int* cols, const Int* lwork) noexcept {
    const double large = std::max(real(rows), real(cols));
    const double small = std::min(real(rows), real(cols));
    return *lwork < 0 ? 0.0 : 2.0 * small * small * (large - small / 3.0);
}

// The first n columns of the product of k reflections.
double columnFlops(const Int* rows, const Int* cols, const Int* reflections, const Int* lwork) {
    const double m = real(rows);
    const double n = real(cols);
    const double k = real(reflections);
    return *lwork < 0 ? 0.0 : 4.0 * m * n * k - 2.0 * (m + n) * k * k + 4.0 / 3.0 * k * k * k;
}

void* countBlock(void* memory) noexcept {
    if (counter.isOn && memory != nullptr) {
        ++counter.work.requests;
        counter.bytes += static_cast<std::int64_t>(malloc_usable_size(memory));
        counter.work.peakBytes = std::max(counter.work.peakBytes, counter.bytes);
    }
    return memory;
}

void countRelease(void* memory) noexcept {
    if (counter.isOn && memory != nullptr) {
        counter.bytes -= static_cast<std::int64_t>(malloc_usable_size(memory));
    }
}

}  // namespace

Work& Work::operator+=(const Work& other) {
    calls += other.calls;
    matrixFlops += other.matrixFlops;
    vectorFlops += other.vectorFlops;
    rotationFlops += other.rotationFlops;
    requests += other.requests;
    peakBytes = std::max(peakBytes, other.peakBytes);
    return *this;
}

WorkCount::WorkCount() noexcept {
    counter = {true};
}

WorkCount::~WorkCount() {
    counter = {};
}

Work WorkCount::work() const noexcept {
    return counter.work;
}

// The wrappers: __wrap_f is what the library's calls of f are bound to, __real_f is f. Weak,
// because there need be no such call, nor an f.
extern "C" {

using Letter = const char*;
using Size = const Int*;
using In = const double*;
using Out = double*;

#define ACTIVESET_COUNTED(type, name, kind, flops, parameters, arguments) \
    [[gnu::weak]] type __real_activeset_##name##_ parameters;             \
    type __wrap_activeset_##name##_ parameters;                           \
    type __wrap_activeset_##name##_ parameters {                          \
        count(&Work::kind, flops);                                        \
        return __real_activeset_##name##_ arguments;                      \
    }

// clang-format off
ACTIVESET_COUNTED(double, ddot, vectorFlops, 2.0 * real(n),
    (Size n, In x, Size incx, In y, Size incy), (n, x, incx, y, incy))
ACTIVESET_COUNTED(double, dnrm2, vectorFlops, 2.0 * real(n),
    (Size n, In x, Size incx), (n, x, incx))
ACTIVESET_COUNTED(void, daxpy, vectorFlops, 2.0 * real(n),
    (Size n, In alpha, In x, Size incx, Out y, Size incy), (n, alpha, x, incx, y, incy))
ACTIVESET_COUNTED(void, drot, rotationFlops, 6.0 * real(n),
    (Size n, Out x, Size incx, Out y, Size incy, In c, In s), (n, x, incx, y, incy, c, s))
ACTIVESET_COUNTED(void, dgemv, vectorFlops, 2.0 * real(m) * real(n),
    (Letter trans, Size m, Size n, In alpha, In a, Size lda, In x, Size incx, In beta, Out y,
     Size incy, size_t l),
    (trans, m, n, alpha, a, lda, x, incx, beta, y, incy, l))
ACTIVESET_COUNTED(void, dsymv, vectorFlops, 2.0 * real(n) * real(n),
    (Letter uplo, Size n, In alpha, In a, Size lda, In x, Size incx, In beta, Out y, Size incy,
     size_t l),
    (uplo, n, alpha, a, lda, x, incx, beta, y, incy, l))
ACTIVESET_COUNTED(void, dger, vectorFlops, 2.0 * real(m) * real(n),
    (Size m, Size n, In alpha, In x, Size incx, In y, Size incy, Out a, Size lda),
    (m, n, alpha, x, incx, y, incy, a, lda))
ACTIVESET_COUNTED(void, dtrsv, vectorFlops, real(n) * real(n),
    (Letter uplo, Letter trans, Letter diag, Size n, In a, Size lda, Out x, Size incx, size_t l1,
     size_t l2, size_t l3),
    (uplo, trans, diag, n, a, lda, x, incx, l1, l2, l3))
ACTIVESET_COUNTED(void, dtrmv, vectorFlops, real(n) * real(n),
    (Letter uplo, Letter trans, Letter diag, Size n, In a, Size lda, Out x, Size incx, size_t l1,
     size_t l2, size_t l3),
    (uplo, trans, diag, n, a, lda, x, incx, l1, l2, l3))
ACTIVESET_COUNTED(void, dtrtrs, vectorFlops, real(n) * real(n) * real(nrhs),
    (Letter uplo, Letter trans, Letter diag, Size n, Size nrhs, In a, Size lda, Out b, Size ldb,
     Int* info, size_t l1, size_t l2, size_t l3),
    (uplo, trans, diag, n, nrhs, a, lda, b, ldb, info, l1, l2, l3))
ACTIVESET_COUNTED(void, dpotrs, vectorFlops, 2.0 * real(n) * real(n) * real(nrhs),
    (Letter uplo, Size n, Size nrhs, In a, Size lda, Out b, Size ldb, Int* info, size_t l),
    (uplo, n, nrhs, a, lda, b, ldb, info, l))
ACTIVESET_COUNTED(void, dgemm, matrixFlops, 2.0 * real(m) * real(n) * real(k),
    (Letter transa, Letter transb, Size m, Size n, Size k, In alpha, In a, Size lda, In b, Size ldb,
     In beta, Out c, Size ldc, size_t l1, size_t l2),
    (transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc, l1, l2))
ACTIVESET_COUNTED(void, dsyrk, matrixFlops, real(n) * real(n) * real(k),
    (Letter uplo, Letter trans, Size n, Size k, In alpha, In a, Size lda, In beta, Out c, Size ldc,
     size_t l1, size_t l2),
    (uplo, trans, n, k, alpha, a, lda, beta, c, ldc, l1, l2))
ACTIVESET_COUNTED(void, dtrsm, matrixFlops, real(m) * real(n) * (*side == 'L' ? real(m) : real(n)),
    (Letter side, Letter uplo, Letter trans, Letter diag, Size m, Size n, In alpha, In a, Size lda,
     Out b, Size ldb, size_t l1, size_t l2, size_t l3, size_t l4),
    (side, uplo, trans, diag, m, n, alpha, a, lda, b, ldb, l1, l2, l3, l4))
ACTIVESET_COUNTED(void, dpotrf, matrixFlops, real(n) * real(n) * real(n) / 3.0,
    (Letter uplo, Size n, Out a, Size lda, Int* info, size_t l), (uplo, n, a, lda, info, l))
ACTIVESET_COUNTED(void, dgeqrf, matrixFlops, factorFlops(m, n, lwork),
    (Size m, Size n, Out a, Size lda, Out tau, Out work, Size lwork, Int* info),
    (m, n, a, lda, tau, work, lwork, info))
ACTIVESET_COUNTED(void, dgeqp3, matrixFlops, factorFlops(m, n, lwork),
    (Size m, Size n, Out a, Size lda, Int* jpvt, Out tau, Out work, Size lwork, Int* info),
    (m, n, a, lda, jpvt, tau, work, lwork, info))
ACTIVESET_COUNTED(void, dorgqr, matrixFlops, columnFlops(m, n, k, lwork),
    (Size m, Size n, Size k, Out a, Size lda, In tau, Out work, Size lwork, Int* info),
    (m, n, k, a, lda, tau, work, lwork, info))
ACTIVESET_COUNTED(void, dormqr, matrixFlops, columnFlops(m, n, k, lwork),
    (Letter side, Letter trans, Size m, Size n, Size k, In a, Size lda, In tau, Out c, Size ldc,
     Out work, Size lwork, Int* info, size_t l1, size_t l2),
    (side, trans, m, n, k, a, lda, tau, c, ldc, work, lwork, info, l1, l2))
ACTIVESET_COUNTED(void, dgels, matrixFlops, factorFlops(m, n, lwork),
    (Letter trans, Size m, Size n, Size nrhs, Out a, Size lda, Out b, Size ldb, Out work,
     Size lwork, Int* info, size_t l),
    (trans, m, n, nrhs, a, lda, b, ldb, work, lwork, info, l))
// clang-format on

// What the library turns without BLAS: the rows of the reduced Hessian's factor.
using Sweep = RotationSweep;
void __real__ZN9activeset14ReducedHessian15followInsertionERKNS_13RotationSweepE(
    ReducedHessian* self, const Sweep& sweep);
void __wrap__ZN9activeset14ReducedHessian15followInsertionERKNS_13RotationSweepE(
    ReducedHessian* self, const Sweep& sweep);
void __wrap__ZN9activeset14ReducedHessian15followInsertionERKNS_13RotationSweepE(
    ReducedHessian* self, const Sweep& sweep) {
    if (self->isCurrent()) {
        const auto order = static_cast<double>(self->order());
        count(&Work::rotationFlops, 3.0 * order * order);
    }
    __real__ZN9activeset14ReducedHessian15followInsertionERKNS_13RotationSweepE(self, sweep);
}

void* __real_malloc(size_t bytes);
void* __real_calloc(size_t number, size_t bytes);
void __real_free(void* memory);
void* __wrap_malloc(size_t bytes);
void* __wrap_calloc(size_t number, size_t bytes);
void __wrap_free(void* memory);

void* __wrap_malloc(size_t bytes) {
    return countBlock(__real_malloc(bytes));
}

void* __wrap_calloc(size_t number, size_t bytes) {
    return countBlock(__real_calloc(number, bytes));
}

void __wrap_free(void* memory) {
    countRelease(memory);
    __real_free(memory);
}

}  // extern "C"

}  // namespace activeset::bench

void* operator new(size_t bytes) {
    void* memory = std::malloc(std::max<size_t>(bytes, 1));
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, size_t /*bytes*/) noexcept {
    std::free(memory);
}
