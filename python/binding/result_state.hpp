// Results as plain data of Python: for pickles, and for results that Python code makes itself.
#ifndef ACTIVESET_PYTHON_RESULT_STATE_HPP
#define ACTIVESET_PYTHON_RESULT_STATE_HPP

#include "activeset/qp.hpp"
#include "python.hpp"

namespace activeset::python {

/// A dictionary of copies: arrays, numbers, tuples, strings.
[[nodiscard]] py::dict stateOf(const Result& result);

/// A Result from such a dictionary. Missing entries have their defaults and unknown entries are
/// ignored, so that one version reads the pickles of another.
[[nodiscard]] py::object restore(const py::dict& state);

}  // namespace activeset::python

#endif
