// One pass over a square matrix: whether its entries are finite and its halves equal, and how large
// the entries are.
#ifndef ACTIVESET_SRC_FRONTEND_ALGEBRA_SYMMETRIC_SCAN_HPP
#define ACTIVESET_SRC_FRONTEND_ALGEBRA_SYMMETRIC_SCAN_HPP

#include <cstddef>

#include "frontend/algebra/instruction_set.hpp"

namespace activeset::frontend {

/// Whether an n × n matrix, whose columns lie `leading` apart, is finite and equals its transpose,
/// bit for bit. If so, largest_j becomes the largest magnitude in its column j; the n entries are
/// lost otherwise.
[[nodiscard]] bool isFiniteSymmetric(const double* values,
                                     std::size_t n,
                                     std::size_t leading,
                                     double* largest);

/// The same for one instruction set, which the processor must have.
using SymmetricScan = bool(const double* values,
                           std::size_t n,
                           std::size_t leading,
                           double* largest);
[[nodiscard]] SymmetricScan* symmetricScan(InstructionSet set);

}  // namespace activeset::frontend

#endif
