// Arrays and errors between NumPy and the parametric functions of the front end.
#ifndef ACTIVESET_PYTHON_PARAMETRIC_ARRAYS_HPP
#define ACTIVESET_PYTHON_PARAMETRIC_ARRAYS_HPP

#include <stdexcept>
#include <string>
#include <vector>

#include "activeset/qp.hpp"
#include "python.hpp"

namespace activeset::python {

/// Turns std::invalid_argument into a ValueError whose text does not mention C++.
template <class Body>
auto translated(Body body) {
    try {
        return body();
    } catch (const std::invalid_argument& error) {
        const std::string text = error.what();
        const std::string prefix = "activeset: ";
        throw py::value_error(text.starts_with(prefix) ? text.substr(prefix.size()) : text);
    }
}

using Columns = py::array_t<double, py::array::f_style | py::array::forcecast>;
using Vector = py::array_t<double, py::array::c_style | py::array::forcecast>;

inline MatrixView viewOf(const Columns& array) {
    if (array.ndim() != 2) {
        throw py::value_error("expected an array of two dimensions");
    }
    return {array.data(), static_cast<std::size_t>(array.shape(0)),
            static_cast<std::size_t>(array.shape(1))};
}

inline VectorView vectorIn(const Vector& array) {
    return {array.data(), static_cast<std::size_t>(array.size())};
}

/// A copy, column by column if it has two or more dimensions.
inline py::array arrayOf(const std::vector<double>& values, const std::vector<py::ssize_t>& shape) {
    std::vector<py::ssize_t> strides;
    py::ssize_t stride = sizeof(double);
    for (const py::ssize_t length : shape) {
        strides.push_back(stride);
        stride *= length;
    }
    return py::array(py::dtype::of<double>(), shape, strides, values.data());
}

inline py::array vectorFrom(const std::vector<double>& values) {
    return arrayOf(values, {static_cast<py::ssize_t>(values.size())});
}

}  // namespace activeset::python

#endif
