// The largest magnitude of many numbers.
#ifndef ACTIVESET_SRC_FRONTEND_ALGEBRA_LARGEST_HPP
#define ACTIVESET_SRC_FRONTEND_ALGEBRA_LARGEST_HPP

#include <cstddef>

#include "frontend/algebra/instruction_set.hpp"

namespace activeset::frontend {

/// max |values_k|, 0 for none; entries that are NaN do not count.
[[nodiscard]] double largestMagnitude(const double* values, std::size_t count);

/// The function that does it with an instruction set that the processor has.
using LargestKernel = double(const double* values, std::size_t count);
[[nodiscard]] LargestKernel* largestKernel(InstructionSet set);

}  // namespace activeset::frontend

#endif
