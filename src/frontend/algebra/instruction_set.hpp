// The instruction set for which a kernel is chosen, once a process.
#ifndef ACTIVESET_SRC_FRONTEND_ALGEBRA_INSTRUCTION_SET_HPP
#define ACTIVESET_SRC_FRONTEND_ALGEBRA_INSTRUCTION_SET_HPP

namespace activeset::frontend {

/// In ascending order: a processor with one of them has those before it.
enum class InstructionSet {
    Baseline,  ///< what the library is compiled for
    Avx2,      ///< with FMA
    Avx512     ///< F, BW, DQ and VL
};

/// The highest set that the processor and the system have. The environment variable
/// ACTIVESET_INSTRUCTION_SET, read when this is first called, lowers it: baseline, avx2 or avx512.
/// Any other value, and a set that the processor does not have, leave it as it is.
[[nodiscard]] InstructionSet instructionSet();

/// "baseline", "avx2" or "avx512".
[[nodiscard]] const char* nameOf(InstructionSet set);

/// The kernel for an instruction set; where it is null, the one before it.
template <class Kernel>
[[nodiscard]] Kernel* chosenOf(InstructionSet set, Kernel* baseline, Kernel* avx2, Kernel* avx512) {
    if (set == InstructionSet::Avx512 && avx512 != nullptr) {
        return avx512;
    }
    return set != InstructionSet::Baseline && avx2 != nullptr ? avx2 : baseline;
}

}  // namespace activeset::frontend

#endif
