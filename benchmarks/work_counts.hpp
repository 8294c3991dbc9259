// Counts what a solve does, exactly: calls and operations of BLAS, LAPACK and the library's own
// kernels, requests for memory and the most that was held.
//
// The counting sits between the library and what it calls: the linker binds its calls to wrappers
// (--wrap, in CMakeLists.txt), so that the library itself knows nothing of it. A routine that has
// no wrapper yet is an undefined symbol.
#ifndef ACTIVESET_BENCHMARKS_WORK_COUNTS_HPP
#define ACTIVESET_BENCHMARKS_WORK_COUNTS_HPP

#include <cstdint>

namespace activeset::bench {

struct Work {
    std::uint64_t calls = 0;     ///< of the arithmetic that is counted
    double matrixFlops = 0.0;    ///< products of matrices and factorisations
    double vectorFlops = 0.0;    ///< products and solves with one vector
    double rotationFlops = 0.0;  ///< plane rotations
    std::uint64_t requests = 0;  ///< for memory, from the C allocator and operator new
    std::int64_t peakBytes = 0;  ///< most that was held beside what was held before

    /// Peaks do not add up: the higher one is kept.
    Work& operator+=(const Work& other);
    [[nodiscard]] double flops() const { return matrixFlops + vectorFlops + rotationFlops; }
};

/// Counts on this thread while it lives. Counts do not nest.
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
