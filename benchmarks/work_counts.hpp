// Exact counts of what a solve does: calls and operations of BLAS, LAPACK and the library's own
// kernels, requests for memory, and the largest amount in use.
//
// The linker binds the library's calls to wrappers that count (--wrap, in CMakeLists.txt), so that
// the library needs no code for it. A routine without a wrapper is an undefined symbol.
#ifndef ACTIVESET_BENCHMARKS_WORK_COUNTS_HPP
#define ACTIVESET_BENCHMARKS_WORK_COUNTS_HPP

#include <cstdint>

namespace activeset::bench {

struct Work {
    std::uint64_t calls = 0;     ///< calls of counted arithmetic
    double matrixFlops = 0.0;    ///< products of matrices and factorisations
    double vectorFlops = 0.0;    ///< products and solves with one vector
    double rotationFlops = 0.0;  ///< plane rotations
    std::uint64_t requests = 0;  ///< requests for memory, from the C allocator and operator new
    std::int64_t peakBytes = 0;  ///< most memory in use, minus what was in use before

    /// Adds the counts; of the peaks the higher one is kept.
    Work& operator+=(const Work& other);
    [[nodiscard]] double flops() const { return matrixFlops + vectorFlops + rotationFlops; }
};

/// Counts on this thread while the object lives. Counts do not nest.
class WorkCount {
public:
    WorkCount() noexcept;
    ~WorkCount();
    WorkCount(const WorkCount&) = delete;
    WorkCount(WorkCount&&) = delete;
    WorkCount& operator=(const WorkCount&) = delete;
    WorkCount& operator=(WorkCount&&) = delete;

    [[nodiscard]] Work work() const noexcept;
};

}  // namespace activeset::bench

#endif
