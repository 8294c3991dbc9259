// Parts of the matrices of a problem, as dense matrices.
#ifndef ACTIVESET_SRC_FRONTEND_PROBLEM_SUBMATRICES_HPP
#define ACTIVESET_SRC_FRONTEND_PROBLEM_SUBMATRICES_HPP

#include <cstddef>
#include <vector>

#include "frontend/algebra/dense.hpp"
#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

/// H, n × n; zeros for a linear objective.
[[nodiscard]] Dense hessianOf(const ProblemData& data);
/// Its lower half, n × n; what is above the diagonal is undetermined.
[[nodiscard]] Dense lowerHalfOf(const ProblemData& data);
/// The rows and columns of H that belong to some variables. The objective is quadratic.
[[nodiscard]] Dense hessianOf(const ProblemData& data, const std::vector<std::size_t>& variables);
/// The gradients of rows in some variables, as columns: variables × rows.
[[nodiscard]] Dense gradientsOf(const ProblemData& data,
                                const std::vector<std::size_t>& rows,
                                const std::vector<std::size_t>& variables);

}  // namespace activeset::frontend

#endif
