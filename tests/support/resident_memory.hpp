// How much memory the process has.
#ifndef ACTIVESET_TESTS_SUPPORT_RESIDENT_MEMORY_HPP
#define ACTIVESET_TESTS_SUPPORT_RESIDENT_MEMORY_HPP

#include <unistd.h>

#include <cstddef>
#include <fstream>

namespace activeset::test {

/// Bytes of the process that are in memory.
inline std::size_t residentMemory() {
    std::size_t all = 0;
    std::size_t resident = 0;
    std::ifstream("/proc/self/statm") >> all >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

/// What it may differ by although nothing is lost. A sanitizer keeps what was freed.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr std::size_t ResidentSlack = std::size_t{1} << 30U;
#else
inline constexpr std::size_t ResidentSlack = std::size_t{1} << 18U;
#endif

}  // namespace activeset::test

#endif
