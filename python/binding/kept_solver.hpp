// Python's Solver: a sequence of related problems.
#ifndef ACTIVESET_PYTHON_KEPT_SOLVER_HPP
#define ACTIVESET_PYTHON_KEPT_SOLVER_HPP

#include "python.hpp"

namespace activeset::python {

void addSolverType(py::module_& module);

}  // namespace activeset::python

#endif
