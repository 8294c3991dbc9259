// The allocator family, with faults on request and counts for tests.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "activeset/host.hpp"
#include "thread_state.hpp"

namespace {

// The library's only calls to the C allocator stand in this file.
// NOLINTBEGIN(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)

// No object can be larger. The C allocator would refuse as well, but a sanitizer's stops there.
constexpr size_t LargestBlock = PTRDIFF_MAX;

// Up to this size clearing costs less than what calloc does beyond malloc; above it, calloc may
// get pages that are zero already.
constexpr size_t SmallBlock = 1024;

bool isRefused() noexcept {
    activeset::ThreadState& state = activeset::threadState();
    ++state.allocations;
    activeset::FaultPlan& plan = state.faults;
    if (!plan.active) {
        return false;
    }
    ++plan.requests;
    const bool refused =
        plan.requests >= plan.failAt && plan.requests - plan.failAt < plan.failures;
    plan.hasFailed = plan.hasFailed || refused;
    return refused;
}

void* counted(void* memory) noexcept {
    if (memory != nullptr) {
        ++activeset::threadState().liveBlocks;
    }
    return memory;
}

void release(void* memory) noexcept {
    if (memory != nullptr) {
        --activeset::threadState().liveBlocks;
        std::free(memory);
    }
}

void raiseOutOfMemory() {
    vxErrMsgIdAndTxt(activeset::OutOfMemoryIdentifier, "%s", activeset::OutOfMemoryText);
}

}  // namespace

void* vxMallocEx(size_t bytes) noexcept {
    if (bytes == 0 || isRefused() || bytes > LargestBlock) {
        return nullptr;
    }
    return counted(std::malloc(bytes));
}

void* vxCallocEx(size_t count, size_t size) noexcept {
    if (count == 0 || size == 0 || isRefused() || count > LargestBlock / size) {
        return nullptr;
    }
    if (count * size > SmallBlock) {
        return counted(std::calloc(count, size));
    }
    void* memory = std::malloc(count * size);
    if (memory != nullptr) {
        std::memset(memory, 0, count * size);
    }
    return counted(memory);
}

// NOLINTEND(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)

void* vxMalloc(size_t bytes) {
    void* memory = vxMallocEx(bytes);
    if (memory == nullptr && bytes != 0) {
        raiseOutOfMemory();
    }
    return memory;
}

void* vxCalloc(size_t count, size_t size) {
    void* memory = vxCallocEx(count, size);
    if (memory == nullptr && count != 0 && size != 0) {
        raiseOutOfMemory();
    }
    return memory;
}

void* vxMallocExCheck(size_t bytes) {
    return vxMalloc(bytes == 0 ? 1 : bytes);
}

void vxFree(void* memory) noexcept {
    release(memory);
}

void vxFreeEx(void* memory) noexcept {
    release(memory);
}

namespace activeset {

AllocationFaults::AllocationFaults(std::uint64_t failAt, std::uint64_t failures) noexcept {
    threadState().faults = {true, failAt, failures, 0, false};
}

AllocationFaults::~AllocationFaults() {
    threadState().faults = {};
}

// The plan is the thread's; these read it through the guard that set it.
// NOLINTNEXTLINE(readability-convert-member-functions-to-static)
std::uint64_t AllocationFaults::requests() const noexcept {
    return threadState().faults.requests;
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static)
bool AllocationFaults::hasFailed() const noexcept {
    return threadState().faults.hasFailed;
}

std::int64_t liveBlockCount() noexcept {
    return threadState().liveBlocks;
}

std::uint64_t allocationCount() noexcept {
    return threadState().allocations;
}

}  // namespace activeset
