// The largest magnitude of many numbers.
#ifndef ACTIVESET_SRC_FRONTEND_ALGEBRA_LARGEST_HPP
#define ACTIVESET_SRC_FRONTEND_ALGEBRA_LARGEST_HPP

#include <cstddef>

#include "frontend/algebra/instruction_set.hpp"

namespace activeset::frontend {

/// max |values_k|, 0 for none; entries that are NaN do not count.
[[nodiscard]] double largestMagnitude(const double* values, std::size_t count);

/// max |values_k|·factors_k, likewise; no factor is negative.
[[nodiscard]] double largestProduct(const double* values, const double* factors, std::size_t count);
/// largest_k := max(largest_k, |values_k|·factor), likewise.
void raiseToProducts(const double* values, double factor, double* largest, std::size_t count);

/// The kernel of largestMagnitude() for one instruction set, which the processor must have.
using LargestKernel = double(const double* values, std::size_t count);
[[nodiscard]] LargestKernel* largestKernel(InstructionSet set);

}  // namespace activeset::frontend

#endif
