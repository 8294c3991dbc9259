// Solves one problem.
#ifndef ACTIVESET_PYTHON_SOLVE_HPP
#define ACTIVESET_PYTHON_SOLVE_HPP

#include <vector>

#include "activeset/qp.hpp"
#include "problem_data.hpp"
#include "python.hpp"
#include "result.hpp"

namespace activeset::python {

/// Adds solve_qp.
void addSolve(py::module_& module);

/// The parts of a problem in a dictionary, as borrowed references.
/// @raises TypeError for a name that no part has
[[nodiscard]] GivenParts partsOf(const py::dict& parts);

/// @raises ProblemError, always: with the faults in the terms of Python's problems
[[noreturn]] void raiseInvalid(const std::vector<Fault>& faults, const ResultLayout& layout);

}  // namespace activeset::python

#endif
