// The memory of the process.
#ifndef ACTIVESET_TESTS_SUPPORT_PROCESS_MEMORY_HPP
#define ACTIVESET_TESTS_SUPPORT_PROCESS_MEMORY_HPP

#include <malloc.h>
#include <unistd.h>

#include <cstddef>
#include <fstream>

namespace activeset::test {

/// In bytes.
struct ProcessMemory {
    std::size_t mapped = 0;
    std::size_t resident = 0;

    /// Memory that the allocator keeps for later requests goes back to the system first. It is no
    /// leak, and its amount depends on what was freed last.
    static ProcessMemory now() {
        malloc_trim(0);
        ProcessMemory result;
        std::ifstream("/proc/self/statm") >> result.mapped >> result.resident;
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        return {result.mapped * page, result.resident * page};
    }
};

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool IsSanitized = true;
#else
inline constexpr bool IsSanitized = false;
#endif

/// The growth that is allowed without a leak. A sanitizer keeps freed memory.
inline constexpr std::size_t MemorySlack = std::size_t{1} << (IsSanitized ? 30U : 18U);

}  // namespace activeset::test

#endif
