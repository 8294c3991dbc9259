// Types of the module that pybind11 does not make, because each call of theirs counts.
#ifndef ACTIVESET_PYTHON_HEAP_TYPE_HPP
#define ACTIVESET_PYTHON_HEAP_TYPE_HPP

#include <cstring>

#include "python.hpp"

namespace activeset::python {

/// Makes a type and adds it to the module.
/// @param name   with the modules that it is in; static, as the type keeps it
/// @param size   of an object, in bytes
/// @param slots  ends with an empty one
/// @raises py::error_already_set
inline py::object addType(
    py::module_& module, const char* name, int size, unsigned flags, PyType_Slot* slots) {
    PyType_Spec made{name, size, 0, flags, slots};
    auto type = py::reinterpret_steal<py::object>(PyType_FromSpec(&made));
    if (!type) {
        throw py::error_already_set();
    }
    module.attr(std::strrchr(name, '.') + 1) = type;
    return type;
}

}  // namespace activeset::python

#endif
