// The base of Python's Result: holds a result of the front end and makes arrays of its parts when
// they are asked for.
#ifndef ACTIVESET_PYTHON_RESULT_HPP
#define ACTIVESET_PYTHON_RESULT_HPP

#include <cstddef>
#include <utility>

#include "activeset/qp.hpp"
#include "python.hpp"

namespace activeset::python {

/// The numbers of rows of G and of A in a result, and the names of variables and rows.
struct ResultLayout {
    std::size_t inequalities = 0;
    std::size_t equalities = 0;
    py::object names{};  ///< a tuple of names of the variables and names of the rows, or null
};

/// The type, made once; its Python subclass is what users see.
void addResultType(py::module_& module);

/// New results are of this class, and its statuses are members of that enumeration.
void configureResults(py::type resultClass, py::tuple statuses);

/// A new reference to a Result.
[[nodiscard]] PyObject* makeResult(Result&& result, ResultLayout layout);

/// What a Result holds.
/// @raises TypeError for anything else
[[nodiscard]] const Result& resultIn(py::handle object);

/// A working set as a tuple of six arrays, in the order of its members, and a last entry for
/// violated soft sides: a tuple of four arrays, or None. Then the way back.
[[nodiscard]] py::tuple tupleOf(const WorkingSet& set);
[[nodiscard]] WorkingSet workingSetOf(const py::sequence& arrays);

/// The start of a solve from a Result, or from a WarmStart of Python's.
[[nodiscard]] WarmStart warmStartOf(py::handle given);

/// Faults as tuples (name, row, col, value, text, count).
[[nodiscard]] py::list listOf(const std::vector<Fault>& faults);

}  // namespace activeset::python

#endif
