// NumPy's arrays as views of the front end, and vectors of the front end as arrays.
#ifndef ACTIVESET_PYTHON_ARRAYS_HPP
#define ACTIVESET_PYTHON_ARRAYS_HPP

#include <cstddef>
#include <optional>
#include <vector>

#include "activeset/qp.hpp"
#include "python.hpp"

namespace activeset::python {

/// A view of `array` where it lies: float64 in the processor's order, one dimension without gaps.
[[nodiscard]] std::optional<VectorView> vectorInPlace(PyObject* array);

/// Likewise with two dimensions, of which at most one has gaps. One dimension is a single row.
[[nodiscard]] std::optional<MatrixView> matrixInPlace(PyObject* array);

/// A view of the numbers of `given`. `owner` gets the array that holds them: `given` itself if the
/// view can use its memory, otherwise a converted copy.
/// @raises ProblemError (Python's), with `name` in its text
[[nodiscard]] VectorView vectorOf(PyObject* given, const char* name, py::object& owner);
[[nodiscard]] MatrixView matrixOf(PyObject* given, const char* name, py::object& owner);

/// A read-only array of the numbers where they lie. `owner` keeps them alive.
[[nodiscard]] py::object arrayOf(const double* values, std::size_t size, py::handle owner);
[[nodiscard]] inline py::object arrayOf(const std::vector<double>& values, py::handle owner) {
    return arrayOf(values.data(), values.size(), owner);
}

/// A new array of 64-bit integers.
[[nodiscard]] py::object arrayOf(const std::vector<std::size_t>& indices);

/// The entries of a sequence or an array.
[[nodiscard]] std::vector<double> numbersOf(py::handle given);

/// The entries that can be an index. Others are left out.
[[nodiscard]] std::vector<std::size_t> indicesOf(py::handle given);

}  // namespace activeset::python

#endif
