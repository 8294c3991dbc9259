// Solves batches of problems from arrays to arrays.
#ifndef ACTIVESET_PYTHON_BATCH_HPP
#define ACTIVESET_PYTHON_BATCH_HPP

#include "python.hpp"

namespace activeset::python {

/// Adds solve_batch, to which activeset._batch gives arrays that fit.
void addBatch(py::module_& module);

}  // namespace activeset::python

#endif
