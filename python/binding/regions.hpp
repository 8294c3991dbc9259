// The type behind Python's Regions.
#ifndef ACTIVESET_PYTHON_REGIONS_HPP
#define ACTIVESET_PYTHON_REGIONS_HPP

#include "python.hpp"

namespace activeset::python {

void addRegions(py::module_& module);

}  // namespace activeset::python

#endif
