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

/// Adds the faults of shape, memory and entries.
void inspectMatrix(const MatrixView& matrix, const ExpectedMatrix& expected, FaultList& faults);

/// The same of H, and of the pairs of its entries that differ by more than rounding. Looks at each
/// entry once if all is well.
[[nodiscard]] HessianScan inspectHessian(const MatrixView& H,
                                         std::size_t variables,
                                         FaultList& faults);

}  // namespace activeset::frontend

#endif
