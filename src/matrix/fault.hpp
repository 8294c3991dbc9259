// How the matrix reports faults.
#ifndef ACTIVESET_SRC_MATRIX_FAULT_HPP
#define ACTIVESET_SRC_MATRIX_FAULT_HPP

#include "activeset/matrix.hpp"

namespace activeset {

/// Raises "optim:optimHstError:unhandledError" with `text`.
[[noreturn]] void raiseMatrixFault(const char* text);
/// The two lines that go before a failing assignment's error.
void printAssignmentSizes(const OPTMatrix<double>& left, const OPTMatrix<double>& right);

}  // namespace activeset

#endif
