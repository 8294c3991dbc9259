// The systems of a line's working set, solved by factors or by an inverse.
#ifndef ACTIVESET_SRC_FRONTEND_PARAMETRIC_LINE_SOLVE_HPP
#define ACTIVESET_SRC_FRONTEND_PARAMETRIC_LINE_SOLVE_HPP

#include <cstddef>

#include "frontend/parametric/kkt_inverse.hpp"
#include "frontend/parametric/line.hpp"

namespace activeset::frontend {

/// By the factors, for any working set. @post what is returned looks at them
[[nodiscard]] Line::Solve solverOf(const KktFactor& factor);
/// By the inverse, in O(order²), for a problem with n variables. @post likewise
[[nodiscard]] Line::Solve solverOf(const KktInverse& inverse, std::size_t n);

}  // namespace activeset::frontend

#endif
