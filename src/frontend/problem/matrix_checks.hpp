// What can be wrong with a matrix of a problem.
#ifndef ACTIVESET_SRC_FRONTEND_PROBLEM_MATRIX_CHECKS_HPP
#define ACTIVESET_SRC_FRONTEND_PROBLEM_MATRIX_CHECKS_HPP

#include "frontend/problem/fault_list.hpp"

namespace activeset::frontend {

/// The shape that a matrix has to have in a problem with so many variables.
struct ExpectedMatrix {
    const char* name;
    std::size_t rows;
    std::size_t cols;
    std::size_t variables;
    bool isOptional;  ///< it may be absent
};

/// Adds the faults of shape, memory and entries. True if there are none, so that entries may be
/// read.
[[nodiscard]] bool inspectMatrix(const MatrixView& matrix,
                                 const ExpectedMatrix& expected,
                                 FaultList& faults);

/// Adds the pairs of entries of a sound H that differ by more than rounding.
void inspectSymmetry(const MatrixView& H, FaultList& faults);

}  // namespace activeset::frontend

#endif
