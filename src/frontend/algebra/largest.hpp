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

/// value / scale, 0 where there is no scale.
[[nodiscard]] inline double ratio(double value, double scale) {
    return scale > 0.0 ? value / scale : 0.0;
}

/// What the first three functions call.
struct LargestKernels {
    double (*magnitude)(const double* values, std::size_t count);
    double (*product)(const double* values, const double* factors, std::size_t count);
    void (*raise)(const double* values, double factor, double* largest, std::size_t count);
};

/// Those for one instruction set, which the processor must have.
[[nodiscard]] LargestKernels largestKernels(InstructionSet set);

}  // namespace activeset::frontend

#endif
