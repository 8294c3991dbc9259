// Derivatives, ranges and paths for Python.
#ifndef ACTIVESET_PYTHON_PARAMETRIC_HPP
#define ACTIVESET_PYTHON_PARAMETRIC_HPP

#include "python.hpp"

namespace activeset::python {

void addParametric(py::module_& module);

}  // namespace activeset::python

#endif
