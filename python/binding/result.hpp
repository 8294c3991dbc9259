// The base class of Python's Result. It holds a result of the front end and makes arrays of its
// parts on request.
#ifndef ACTIVESET_PYTHON_RESULT_HPP
#define ACTIVESET_PYTHON_RESULT_HPP

#include <cstddef>
#include <utility>

#include "activeset/qp.hpp"
#include "python.hpp"

namespace activeset::python {

/// The numbers of rows of G and of A, and the names of variables and rows.
struct ResultLayout {
    std::size_t inequalities = 0;
    std::size_t equalities = 0;
    py::object names{};  ///< a tuple (names of variables, names of rows); may be null
};

/// The type, made once. Users see its Python subclass.
void addResultType(py::module_& module);

/// Sets the class of new results and the enumeration of their statuses.
void configureResults(py::type resultClass, py::tuple statuses);

/// A new reference to a Result.
[[nodiscard]] PyObject* makeResult(Result&& result, ResultLayout layout);

/// The result that a Python Result holds.
/// @raises TypeError for anything else
[[nodiscard]] const Result& resultIn(py::handle object);

/// A working set as a tuple of six arrays, in the order of its members, and violated soft sides: a
/// tuple of four arrays or None. The second function converts back.
[[nodiscard]] py::tuple tupleOf(const WorkingSet& set);
[[nodiscard]] WorkingSet workingSetOf(const py::sequence& arrays);

/// The start for a solve from a Result or from Python's WarmStart.
[[nodiscard]] WarmStart warmStartOf(py::handle given);

/// Faults as tuples (name, row, col, value, text, count).
[[nodiscard]] py::list listOf(const std::vector<Fault>& faults);

}  // namespace activeset::python

#endif
