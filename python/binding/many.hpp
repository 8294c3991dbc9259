// solve_many and explain_infeasibility.
#ifndef ACTIVESET_PYTHON_MANY_HPP
#define ACTIVESET_PYTHON_MANY_HPP

#include "python.hpp"

namespace activeset::python {

void addMany(py::module_& module);

}  // namespace activeset::python

#endif
