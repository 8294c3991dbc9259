#include "benchmarks/work_counts.hpp"

#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <new>
#include <type_traits>

#include "host/lapack.hpp"
#include "nullspace/reduced_hessian.hpp"

namespace activeset::bench {

namespace {

struct Counter {
    bool isOn = false;
    Work work{};
    std::int64_t bytes = 0;
};

// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): what the wrappers share
constinit thread_local Counter counter;

void count(double Work::*kind, double flops) noexcept {
    if (counter.isOn) {
        ++counter.work.calls;
        counter.work.*kind += flops;
    }
}

double size(Int count) noexcept {
    return static_cast<double>(count);
}

double product(ConstBlock a) noexcept {
    return 2.0 * size(a.rows) * size(a.cols);
}

// Flops of a QR factorisation by reflections, without terms of lower order, as below.
double factorisation(ConstBlock a) noexcept {
    const double large = size(std::max(a.rows, a.cols));
    const double small = size(std::min(a.rows, a.cols));
    return 2.0 * small * small * (large - small / 3.0);
}

// Flops to form the whole orthogonal factor from k reflections.
double orthogonalFactor(ConstBlock a, double k) noexcept {
    const double m = size(a.rows);
    return 4.0 * (m * m * k - m * k * k + k * k * k / 3.0);
}

double cholesky(ConstBlock a) noexcept {
    return size(a.cols) * size(a.cols) * size(a.cols) / 3.0;
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

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): of this count, for the caller
Work WorkCount::work() const noexcept {
    return counter.work;
}

// Wrappers of all routines that do the library's arithmetic. The linker binds calls of f to
// __wrap_f; __real_f is the original. CMakeLists.txt takes the names from here. A wrapper whose
// function has changed does not compile; a wrapper for a new function must be added.
#define ACTIVESET_COUNTED(space, name, symbol, kind, flops, result, parameters, arguments) \
    static_assert(std::is_same_v<decltype(space::name), result parameters>);               \
    result real_##name parameters __asm__("__real_" #symbol);                              \
    result wrap_##name parameters __asm__("__wrap_" #symbol);                              \
    result wrap_##name parameters {                                                        \
        count(&Work::kind, flops);                                                         \
        return real_##name arguments;                                                      \
    }

// clang-format off
ACTIVESET_COUNTED(blas, gemv, _ZN9activeset4blas4gemvENS_2OpEdNS_10BasicBlockIKdEEPS3_dPd,
    vectorFlops, product(a), void,
    (Op op, double alpha, ConstBlock a, const double* x, double beta, double* y),
    (op, alpha, a, x, beta, y))
ACTIVESET_COUNTED(blas, gemm, _ZN9activeset4blas4gemmENS_2OpES1_dNS_10BasicBlockIKdEES4_dNS2_IdEE,
    matrixFlops, product(a) * size(opB == Op::None ? b.cols : b.rows), void,
    (Op opA, Op opB, double alpha, ConstBlock a, ConstBlock b, double beta, Block c),
    (opA, opB, alpha, a, b, beta, c))
ACTIVESET_COUNTED(blas, gram, _ZN9activeset4blas4gramENS_10BasicBlockIKdEENS1_IdEE,
    matrixFlops, 0.5 * product(a) * size(a.cols), void, (ConstBlock a, Block c), (a, c))
ACTIVESET_COUNTED(blas, subtractGram,
    _ZN9activeset4blas12subtractGramENS_10BasicBlockIKdEENS1_IdEE,
    matrixFlops, 0.5 * product(a) * size(a.cols), void, (ConstBlock a, Block c), (a, c))
ACTIVESET_COUNTED(blas, trsvUpper, _ZN9activeset4blas9trsvUpperENS_2OpENS_10BasicBlockIKdEEPd,
    vectorFlops, 0.5 * product(r), void, (Op op, ConstBlock r, double* x), (op, r, x))
ACTIVESET_COUNTED(blas, trsvLower, _ZN9activeset4blas9trsvLowerENS_2OpENS_10BasicBlockIKdEEPd,
    vectorFlops, 0.5 * product(l), void, (Op op, ConstBlock l, double* x), (op, l, x))
ACTIVESET_COUNTED(blas, rot, _ZN9activeset4blas3rotEmPdmS1_mRKNS0_8RotationE,
    rotationFlops, 6.0 * static_cast<double>(n), void,
    (size_t n, double* x, size_t strideX, double* y, size_t strideY, const blas::Rotation& rotation),
    (n, x, strideX, y, strideY, rotation))
ACTIVESET_COUNTED(lapack, trtrs, _ZN9activeset6lapack5trtrsENS_10BasicBlockIKdEENS1_IdEE,
    vectorFlops, 0.5 * product(r) * size(b.cols), Int, (ConstBlock r, Block b), (r, b))
ACTIVESET_COUNTED(lapack, trtrsTransposed,
    _ZN9activeset6lapack15trtrsTransposedENS_10BasicBlockIKdEENS1_IdEE,
    vectorFlops, 0.5 * product(r) * size(b.cols), Int, (ConstBlock r, Block b), (r, b))
ACTIVESET_COUNTED(lapack, trtrsLower, _ZN9activeset6lapack10trtrsLowerENS_10BasicBlockIKdEENS1_IdEE,
    vectorFlops, 0.5 * product(l) * size(b.cols), Int, (ConstBlock l, Block b), (l, b))
ACTIVESET_COUNTED(lapack, trtrsLowerTransposed,
    _ZN9activeset6lapack20trtrsLowerTransposedENS_10BasicBlockIKdEENS1_IdEE,
    vectorFlops, 0.5 * product(l) * size(b.cols), Int, (ConstBlock l, Block b), (l, b))
ACTIVESET_COUNTED(lapack, potrs, _ZN9activeset6lapack5potrsENS_10BasicBlockIKdEENS1_IdEE,
    vectorFlops, product(a) * size(b.cols), Int, (ConstBlock a, Block b), (a, b))
ACTIVESET_COUNTED(lapack, potrf, _ZN9activeset6lapack5potrfENS_10BasicBlockIdEE,
    matrixFlops, cholesky(a), Int, (Block a), (a))
ACTIVESET_COUNTED(lapack, potrfLower, _ZN9activeset6lapack10potrfLowerENS_10BasicBlockIdEE,
    matrixFlops, cholesky(a), Int, (Block a), (a))
ACTIVESET_COUNTED(lapack, geqrf, _ZN9activeset6lapack5geqrfENS_10BasicBlockIdEEPd,
    matrixFlops, factorisation(a), Int, (Block a, double* tau), (a, tau))
ACTIVESET_COUNTED(lapack, geqp3, _ZN9activeset6lapack5geqp3ENS_10BasicBlockIdEEPlPd,
    matrixFlops, factorisation(a), Int, (Block a, Int* jpvt, double* tau), (a, jpvt, tau))
ACTIVESET_COUNTED(lapack, orgqr, _ZN9activeset6lapack5orgqrENS_10BasicBlockIdEElPKd,
    matrixFlops, orthogonalFactor(a, size(k)), Int, (Block a, Int k, const double* tau),
    (a, k, tau))
ACTIVESET_COUNTED(lapack, ormqr, _ZN9activeset6lapack5ormqrENS_2OpENS_10BasicBlockIKdEEPS3_NS2_IdEE,
    matrixFlops, (2.0 * product(a) - 2.0 * size(a.cols) * size(a.cols)) * size(b.cols), Int,
    (Op op, ConstBlock a, const double* tau, Block b), (op, a, tau, b))
ACTIVESET_COUNTED(lapack, pstrf, _ZN9activeset6lapack5pstrfENS_10BasicBlockIdEEPlS3_d,
    matrixFlops, cholesky(a), Int, (Block a, Int* jpvt, Int* rank, double tolerance),
    (a, jpvt, rank, tolerance))
ACTIVESET_COUNTED(lapack, gelsTransposed, _ZN9activeset6lapack14gelsTransposedENS_10BasicBlockIdEES2_,
    matrixFlops, factorisation(a), Int, (Block a, Block b), (a, b))
// clang-format on

// Rotations of the reduced Hessian's factor do not use BLAS.
using Sweep = RotationSweep;
static_assert(std::is_same_v<decltype(&ReducedHessian::followInsertion),
                             void (ReducedHessian::*)(const Sweep&)>);
void realFollowInsertion(ReducedHessian* self, const Sweep& sweep) __asm__(
    "__real__ZN9activeset14ReducedHessian15followInsertionERKNS_13RotationSweepE");
void wrapFollowInsertion(ReducedHessian* self, const Sweep& sweep) __asm__(
    "__wrap__ZN9activeset14ReducedHessian15followInsertionERKNS_13RotationSweepE");
void wrapFollowInsertion(ReducedHessian* self, const Sweep& sweep) {
    if (self->isCurrent()) {
        const auto order = static_cast<double>(self->order());
        count(&Work::rotationFlops, 3.0 * order * order);
    }
    realFollowInsertion(self, sweep);
}

// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming): the linker's
// NOLINTBEGIN(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory): the allocator itself
extern "C" {

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

// NOLINTEND(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
