// The Cholesky factorisation of matrices of the front end's sizes.
#ifndef ACTIVESET_SRC_FRONTEND_ALGEBRA_CHOLESKY_HPP
#define ACTIVESET_SRC_FRONTEND_ALGEBRA_CHOLESKY_HPP

#include <cstddef>

#include "frontend/algebra/instruction_set.hpp"

namespace activeset::frontend {

/// L of a = L·Lᵀ, from and into the lower triangle of an n × n matrix whose columns lie ld apart.
/// What is above the diagonal does not matter, and may be overwritten.
struct CholeskyInPlace {
    double* a;
    std::size_t n;
    std::size_t ld;
    double* work;  ///< choleskyWork(n) numbers
};

/// How many numbers of work the factorisation of an n × n matrix needs.
[[nodiscard]] std::size_t choleskyWork(std::size_t n);

/// False, with nothing to be used, where a pivot is not positive. All instruction sets with FMA
/// give the same bits.
using CholeskyKernel = bool(const CholeskyInPlace& matrix);
[[nodiscard]] CholeskyKernel* choleskyKernel(InstructionSet set);

/// By the kernel for this processor; the baseline calls LAPACK.
[[nodiscard]] bool choleskyInPlace(const CholeskyInPlace& matrix);

}  // namespace activeset::frontend

#endif
