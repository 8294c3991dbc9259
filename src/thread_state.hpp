// The mutable state that the library's classes share, one instance per thread, so that solves on
// different threads are independent. Solves on one thread never overlap.
#ifndef ACTIVESET_SRC_THREAD_STATE_HPP
#define ACTIVESET_SRC_THREAD_STATE_HPP

#include <cstddef>
#include <cstdint>
#include <memory>

#include "host/array_shelf.hpp"

namespace activeset {

class CallScope;
class MatrixPool;

/// What OPTsizes reports. Set by an objective's construction (nVar) and a constraint set's (the
/// rest), raised and put back by phase one, put back by the entry function when a call fails.
struct SizeCounts {
    size_t mConstr = 0;
    size_t mIneq = 0;
    size_t mEq = 0;
    size_t nEq = 0;
    size_t mFixed = 0;
    size_t mLB = 0;
    size_t mUB = 0;
    size_t nVar = 0;
};

/// What ActiveSet reports. Set by reading a working set, changed by additions and removals, put
/// back when phase one or a call fails.
struct WorkingSetCounts {
    size_t maConstr = 0;
    size_t maFixed = 0;
    size_t maEq = 0;
    size_t maIneq = 0;
    size_t maLB = 0;
    size_t maUB = 0;
};

/// The requests that AllocationFaults refuses; set by its constructor, cleared by its destructor,
/// read at every allocation.
struct FaultPlan {
    bool active = false;
    std::uint64_t failAt = 0;
    std::uint64_t failures = 0;
    std::uint64_t requests = 0;
    bool hasFailed = false;
};

/// See SolveReport in the entry function's header. Set by the entry function, reset at its start.
struct SolveCounts {
    int iterations = 0;
    int phaseOneIterations = 0;
    bool phaseOneRan = false;
    int skippedEntries = 0;
};

/// What a call of BLAS works in; set and cleared by BlasBuffer, read when BLAS asks for it.
struct BlasCall {
    void* buffer = nullptr;
    bool isLent = false;     ///< BLAS has it
    bool isCounted = false;  ///< among the calls that BLAS's own threads may be helping
};

struct MatrixPoolDeleter {
    void operator()(MatrixPool* pool) const noexcept;  // in matrix/matrix_pool.cpp
};

struct ThreadState {
    SizeCounts sizes;
    WorkingSetCounts workingSet;
    /// Counts matrix constructions; set and read by OPTMatrix, never reset.
    std::int32_t matrixSerial = 0;
    /// What a sparse matrix refers to for an entry that it does not store; set to zero each time.
    double zeroCell = 0.0;
    /// Innermost open scope; set by CallScope, read at every array's creation.
    CallScope* innermostScope = nullptr;
    /// Arrays and blocks made minus destroyed here, and requests in all; set by the allocators.
    std::int64_t liveArrays = 0;
    std::int64_t liveBlocks = 0;
    std::uint64_t allocations = 0;
    FaultPlan faults;
    SolveCounts lastSolve;
    BlasCall blasCall;
    /// Set by utInterruptMode, put back when its guard ends.
    int interruptMode = -1;
    int interruptDepth = 0;
    /// KeepPoolMemory objects alive; counted by themselves.
    int poolKeepers = 0;
    /// Arrays of the front end's solves, for the next one; taken from and given to by its vectors,
    /// emptied by releaseWorkspaces().
    ArrayShelf arrays;
    /// The pool of temporaries; made on first use, destroyed by releaseMatrixPool(). Last, so that
    /// at the end of the thread it goes while the counts above still exist.
    std::unique_ptr<MatrixPool, MatrixPoolDeleter> matrixPool;
};

/// Where the calling thread's state is; null until it is first asked for. A pointer that needs no
/// initialisation spares every look at the state the guard of one that does.
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): the one way to the state
extern constinit thread_local ThreadState* currentThreadState;

[[nodiscard]] ThreadState& makeThreadState() noexcept;

/// The calling thread's state.
[[nodiscard]] inline ThreadState& threadState() noexcept {
    return currentThreadState == nullptr ? makeThreadState() : *currentThreadState;
}

/// Releases the pool when a call ends, however it ends.
struct PoolRelease {
    PoolRelease() = default;
    ~PoolRelease();  // in matrix/matrix_pool.cpp
    PoolRelease(const PoolRelease&) = delete;
    PoolRelease(PoolRelease&&) = delete;
    PoolRelease& operator=(const PoolRelease&) = delete;
    PoolRelease& operator=(PoolRelease&&) = delete;
};

/// Puts the size and working-set counts back as they were, unless told that all went well.
class CountsGuard {
public:
    CountsGuard() noexcept : sizes_(threadState().sizes), workingSet_(threadState().workingSet) {}
    ~CountsGuard() {
        if (!committed_) {
            threadState().sizes = sizes_;
            threadState().workingSet = workingSet_;
        }
    }
    CountsGuard(const CountsGuard&) = delete;
    CountsGuard(CountsGuard&&) = delete;
    CountsGuard& operator=(const CountsGuard&) = delete;
    CountsGuard& operator=(CountsGuard&&) = delete;

    void commit() noexcept { committed_ = true; }

private:
    SizeCounts sizes_;
    WorkingSetCounts workingSet_;
    bool committed_ = false;
};

}  // namespace activeset

#endif
