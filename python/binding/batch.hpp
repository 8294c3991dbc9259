// Solves batches of problems from arrays to arrays.
#ifndef ACTIVESET_PYTHON_BATCH_HPP
#define ACTIVESET_PYTHON_BATCH_HPP

#include "python.hpp"

namespace activeset::python {

/// Adds solve_batch. activeset._batch passes arrays of the right types and shapes.
void addBatch(py::module_& module);

}  // namespace activeset::python

#endif
