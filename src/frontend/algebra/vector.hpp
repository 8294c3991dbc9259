// The front end's vector of numbers.
#ifndef ACTIVESET_SRC_FRONTEND_ALGEBRA_VECTOR_HPP
#define ACTIVESET_SRC_FRONTEND_ALGEBRA_VECTOR_HPP

#include <vector>

namespace activeset::frontend {

using Vector = std::vector<double>;

}  // namespace activeset::frontend

#endif
