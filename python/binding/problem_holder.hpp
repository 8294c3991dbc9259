// What Python's Problem holds: views of its data, and its names.
#ifndef ACTIVESET_PYTHON_PROBLEM_HOLDER_HPP
#define ACTIVESET_PYTHON_PROBLEM_HOLDER_HPP

#include <memory>

#include "problem_data.hpp"
#include "python.hpp"

namespace activeset::python {

struct ProblemHolder {
    std::shared_ptr<const ProblemData> data;
    py::object names;  ///< as in ResultLayout
};

void addProblemHolder(py::module_& module);

/// The holder of a Problem. The Problem may get other data while the holder is in use.
/// @raises TypeError for anything else
[[nodiscard]] ProblemHolder holderOf(py::handle problem);

}  // namespace activeset::python

#endif
