// Arguments of a function that Python calls without making a tuple and a dictionary for them.
#ifndef ACTIVESET_PYTHON_ARGUMENTS_HPP
#define ACTIVESET_PYTHON_ARGUMENTS_HPP

#include <array>
#include <cstddef>

#include "python.hpp"

namespace activeset::python {

/// The names of the parameters of one function. Those that may be given by position come first.
template <std::size_t Count>
class Signature {
public:
    Signature(const char* function,
              std::size_t required,
              std::size_t positional,
              const std::array<const char*, Count>& names)
        : function_(function), required_(required), positional_(positional) {
        for (std::size_t k = 0; k < Count; ++k) {
            names_[k] = PyUnicode_InternFromString(names[k]);
        }
    }

    /// Reads the arguments into borrowed references. None and absent arguments are null.
    /// @raises TypeError as for a function that is written in Python
    std::array<PyObject*, Count> read(PyObject* const* args,
                                      Py_ssize_t positional,
                                      PyObject* keywords) const {
        std::array<PyObject*, Count> values{};
        std::array<bool, Count> isGiven{};
        const auto given = static_cast<std::size_t>(positional);
        if (given > positional_) {
            PyErr_Format(PyExc_TypeError, "%s() takes at most %zu positional arguments (%zu given)",
                         function_, positional_, given);
            throw py::error_already_set();
        }
        for (std::size_t k = 0; k < given; ++k) {
            set(values, isGiven, k, args[k]);
        }
        const Py_ssize_t named = keywords == nullptr ? 0 : PyTuple_GET_SIZE(keywords);
        for (Py_ssize_t k = 0; k < named; ++k) {
            set(values, isGiven, positionOf(PyTuple_GET_ITEM(keywords, k)), args[positional + k]);
        }
        for (std::size_t k = 0; k < required_; ++k) {
            if (!isGiven[k]) {
                PyErr_Format(PyExc_TypeError, "%s() missing required argument: '%U'", function_,
                             names_[k]);
                throw py::error_already_set();
            }
        }
        return values;
    }

private:
    void set(std::array<PyObject*, Count>& values,
             std::array<bool, Count>& isGiven,
             std::size_t position,
             PyObject* value) const {
        if (isGiven[position]) {
            PyErr_Format(PyExc_TypeError, "%s() got multiple values for argument '%U'", function_,
                         names_[position]);
            throw py::error_already_set();
        }
        isGiven[position] = true;
        values[position] = Py_IsNone(value) != 0 ? nullptr : value;
    }

    std::size_t positionOf(PyObject* name) const {
        for (std::size_t k = 0; k < Count; ++k) {
            if (names_[k] == name) {  // names are interned, as a rule
                return k;
            }
        }
        for (std::size_t k = 0; k < Count; ++k) {
            if (PyUnicode_Compare(names_[k], name) == 0) {
                return k;
            }
        }
        PyErr_Format(PyExc_TypeError, "%s() got an unexpected keyword argument '%U'", function_,
                     name);
        throw py::error_already_set();
    }

    const char* function_;
    std::size_t required_;
    std::size_t positional_;
    std::array<PyObject*, Count> names_{};
};

}  // namespace activeset::python

#endif
