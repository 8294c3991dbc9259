// Decides which arrays can be used without a copy. activeset._convert converts the others.
#include "arrays.hpp"

#include <algorithm>

namespace activeset::python {

namespace {

constexpr py::ssize_t Entry = sizeof(double);

struct Layout {
    const double* data;
    int dimensions;
    const py::ssize_t* sizes;
    const py::ssize_t* strides;
};

/// The layout of an array of doubles that BLAS can read; nothing for other arrays. A subclass of
/// numpy.ndarray gives nothing: its data may have another meaning.
std::optional<Layout> layoutOf(PyObject* given) {
    const auto& numpy = py::detail::npy_api::get();
    if (Py_TYPE(given) != numpy.PyArray_Type_) {
        return std::nullopt;
    }
    const auto* array = py::detail::array_proxy(given);
    const auto* type = py::detail::array_descriptor_proxy(array->descr);
    const bool isAligned = (array->flags & py::detail::npy_api::NPY_ARRAY_ALIGNED_) != 0;
    if (type->type_num != py::detail::npy_api::NPY_DOUBLE_ || type->byteorder != '=' ||
        !isAligned) {
        return std::nullopt;
    }
    return Layout{reinterpret_cast<const double*>(array->data), array->nd, array->dimensions,
                  array->strides};
}

/// The distance between neighbours in the outer dimension, in entries; 0 if the strides do not fit.
std::size_t leadingOf(py::ssize_t inner,
                      py::ssize_t innerStride,
                      py::ssize_t outer,
                      py::ssize_t outerStride) {
    if (inner > 1 && innerStride != Entry) {
        return 0;
    }
    const py::ssize_t least = std::max<py::ssize_t>(inner, 1);
    if (outer <= 1) {
        return static_cast<std::size_t>(least);
    }
    const bool fits = outerStride % Entry == 0 && outerStride / Entry >= least;
    return fits ? static_cast<std::size_t>(outerStride / Entry) : 0;
}

py::object converted(PyObject* given, const char* name, const char* function) {
    return packaged("activeset._convert", function)(py::handle(given), name);
}

[[noreturn]] void notConverted(const char* name) {
    throw py::type_error(std::string(name) + ": the conversion gave no array of float64");
}

}  // namespace

std::optional<VectorView> vectorInPlace(PyObject* array) {
    const auto layout = layoutOf(array);
    if (!layout || layout->dimensions != 1 ||
        (layout->sizes[0] > 1 && layout->strides[0] != Entry)) {
        return std::nullopt;
    }
    return VectorView(layout->data, static_cast<std::size_t>(layout->sizes[0]));
}

std::optional<MatrixView> matrixInPlace(PyObject* array) {
    const auto layout = layoutOf(array);
    if (!layout) {
        return std::nullopt;
    }
    if (layout->dimensions == 1) {
        const auto size = static_cast<std::size_t>(layout->sizes[0]);
        if (size > 1 && layout->strides[0] != Entry) {
            return std::nullopt;
        }
        return MatrixView(layout->data, 1, size, std::max<std::size_t>(size, 1), Order::RowMajor);
    }
    if (layout->dimensions != 2) {
        return std::nullopt;
    }
    const auto* size = layout->sizes;
    const auto* stride = layout->strides;
    const auto rows = static_cast<std::size_t>(size[0]);
    const auto cols = static_cast<std::size_t>(size[1]);
    if (rows == 0 || cols == 0) {  // an empty array may have any strides
        return MatrixView(layout->data, rows, cols, std::max<std::size_t>(cols, 1),
                          Order::RowMajor);
    }
    if (const auto leading = leadingOf(size[1], stride[1], size[0], stride[0]); leading != 0) {
        return MatrixView(layout->data, rows, cols, leading, Order::RowMajor);
    }
    if (const auto leading = leadingOf(size[0], stride[0], size[1], stride[1]); leading != 0) {
        return MatrixView(layout->data, rows, cols, leading, Order::ColumnMajor);
    }
    return std::nullopt;
}

VectorView vectorOf(PyObject* given, const char* name, py::object& owner) {
    if (const auto view = vectorInPlace(given)) {
        owner = py::reinterpret_borrow<py::object>(given);
        return *view;
    }
    owner = converted(given, name, "vector");
    if (const auto view = vectorInPlace(owner.ptr())) {
        return *view;
    }
    notConverted(name);
}

MatrixView matrixOf(PyObject* given, const char* name, py::object& owner) {
    if (const auto view = matrixInPlace(given)) {
        owner = py::reinterpret_borrow<py::object>(given);
        return *view;
    }
    owner = converted(given, name, "matrix");
    if (const auto view = matrixInPlace(owner.ptr())) {
        return *view;
    }
    notConverted(name);
}

py::object arrayOf(const double* values, std::size_t size, py::handle owner) {
    py::array array(py::dtype::of<double>(), {static_cast<py::ssize_t>(size)}, {Entry}, values,
                    owner);
    py::detail::array_proxy(array.ptr())->flags &= ~py::detail::npy_api::NPY_ARRAY_WRITEABLE_;
    return array;
}

py::object arrayOf(const std::vector<std::size_t>& indices) {
    py::array_t<std::int64_t> array(static_cast<py::ssize_t>(indices.size()));
    std::transform(indices.begin(), indices.end(), array.mutable_data(),
                   [](std::size_t index) { return static_cast<std::int64_t>(index); });
    return array;
}

std::vector<double> numbersOf(py::handle given) {
    const auto array =
        py::array_t<double, py::array::c_style | py::array::forcecast>::ensure(given);
    if (!array) {
        throw py::error_already_set();
    }
    return {array.data(), array.data() + array.size()};
}

std::vector<std::size_t> indicesOf(py::handle given) {
    const auto array =
        py::array_t<std::int64_t, py::array::c_style | py::array::forcecast>::ensure(given);
    if (!array) {
        throw py::error_already_set();
    }
    std::vector<std::size_t> indices;
    std::copy_if(array.data(), array.data() + array.size(), std::back_inserter(indices),
                 [](std::int64_t index) { return index >= 0; });
    return indices;
}

}  // namespace activeset::python
