// How much memory the process has.
#ifndef ACTIVESET_TESTS_SUPPORT_PROCESS_MEMORY_HPP
#define ACTIVESET_TESTS_SUPPORT_PROCESS_MEMORY_HPP

#include <malloc.h>
#include <unistd.h>

#include <cstddef>
#include <fstream>

namespace activeset::test {

/// Bytes.
struct ProcessMemory {
    std::size_t mapped = 0;
    std::size_t resident = 0;

    /// What the allocator keeps for the next request is no loss, and how much that is depends on
    /// what was freed last: it goes back to the system first.
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

/// What each may grow by although nothing is lost. A sanitizer keeps what was freed.
inline constexpr std::size_t MemorySlack = std::size_t{1} << (IsSanitized ? 30U : 18U);

}  // namespace activeset::test

#endif
