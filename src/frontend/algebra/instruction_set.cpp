// Asks the processor for its instruction sets.
#include "frontend/algebra/instruction_set.hpp"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>

#include "activeset/kernels.hpp"

namespace activeset::frontend {

namespace {

constexpr std::array Names{"baseline", "avx2", "avx512"};

// The compiler's built-in looks at the system as well: it has to save the registers.
InstructionSet highest() {
#if defined(__x86_64__)
    __builtin_cpu_init();
    const bool hasAvx2 = static_cast<bool>(__builtin_cpu_supports("avx2")) &&
                         static_cast<bool>(__builtin_cpu_supports("fma")) &&
                         static_cast<bool>(__builtin_cpu_supports("bmi")) &&
                         static_cast<bool>(__builtin_cpu_supports("bmi2"));
    const bool hasAvx512 = hasAvx2 && static_cast<bool>(__builtin_cpu_supports("avx512f")) &&
                           static_cast<bool>(__builtin_cpu_supports("avx512bw")) &&
                           static_cast<bool>(__builtin_cpu_supports("avx512dq")) &&
                           static_cast<bool>(__builtin_cpu_supports("avx512vl"));
    if (hasAvx512) {
        return InstructionSet::Avx512;
    }
    return hasAvx2 ? InstructionSet::Avx2 : InstructionSet::Baseline;
#else
    return InstructionSet::Baseline;
#endif
}

InstructionSet choose() {
    const InstructionSet most = highest();
    const char* const wanted = std::getenv("ACTIVESET_INSTRUCTION_SET");
    const auto* const found = wanted == nullptr
                                  ? Names.end()
                                  : std::find(Names.begin(), Names.end(), std::string_view(wanted));
    return found == Names.end()
               ? most
               : std::min(most, static_cast<InstructionSet>(found - Names.begin()));
}

}  // namespace

InstructionSet instructionSet() {
    static const InstructionSet chosen = choose();
    return chosen;
}

const char* nameOf(InstructionSet set) {
    return Names[static_cast<std::size_t>(set)];
}

}  // namespace activeset::frontend

namespace activeset {

const char* kernelInstructionSet() noexcept {
    return frontend::nameOf(frontend::instructionSet());
}

}  // namespace activeset
