/// @file
/// Which kernels were chosen for this processor.
#ifndef ACTIVESET_KERNELS_HPP
#define ACTIVESET_KERNELS_HPP

#include "activeset/export.hpp"

namespace activeset {

/// The instruction set of the front end's kernels: "baseline", "avx2" or "avx512". The environment
/// variable ACTIVESET_INSTRUCTION_SET, read once a process, makes it a lower one.
[[nodiscard]] ACTIVESET_API const char* kernelInstructionSet() noexcept;

/// The kernels of the BLAS inside, by its own name for them, as "SkylakeX"; "reference" for the
/// plain one. The environment variable ACTIVESET_BLAS_KERNEL, read when the library is loaded,
/// names others. The processor must have their instructions.
[[nodiscard]] ACTIVESET_API const char* blasKernel() noexcept;

}  // namespace activeset

#endif
