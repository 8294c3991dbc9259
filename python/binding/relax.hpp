// relax and diagnose.
#ifndef ACTIVESET_PYTHON_RELAX_HPP
#define ACTIVESET_PYTHON_RELAX_HPP

#include "python.hpp"

namespace activeset::python {

void addRelax(py::module_& module);

}  // namespace activeset::python

#endif
