// Solves one constrained fit.
#ifndef ACTIVESET_PYTHON_LEAST_SQUARES_HPP
#define ACTIVESET_PYTHON_LEAST_SQUARES_HPP

#include "python.hpp"

namespace activeset::python {

/// Adds solve_ls.
void addLeastSquares(py::module_& module);

}  // namespace activeset::python

#endif
