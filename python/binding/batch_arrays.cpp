// The layouts that an array of a batch can have.
#include "batch_arrays.hpp"

#include <algorithm>
#include <string>

namespace activeset::python {

namespace {

constexpr py::ssize_t Entry = sizeof(double);

/// A float64 array whose last `dimensions` axes have no gaps. One more axis in front is that of the
/// batch; `stride` is the distance between its entries, 0 without that axis.
py::array arrayOf(const py::object& given,
                  const char* name,
                  std::size_t count,
                  py::ssize_t dimensions,
                  std::size_t& stride) {
    if (!py::isinstance<py::array_t<double>>(given)) {
        refuseLayout(name);
    }
    auto array = py::reinterpret_borrow<py::array>(given);
    const bool isBatched = array.ndim() == dimensions + 1;
    if (!isBatched && array.ndim() != dimensions) {
        refuseLayout(name);
    }
    py::ssize_t distance = Entry;
    for (py::ssize_t axis = array.ndim() - 1; axis >= (isBatched ? 1 : 0); --axis) {
        if (array.shape(axis) > 1 && array.strides(axis) != distance) {
            refuseLayout(name);
        }
        distance *= std::max<py::ssize_t>(array.shape(axis), 1);
    }
    stride = 0;
    if (isBatched) {
        const bool fits = static_cast<std::size_t>(array.shape(0)) == count &&
                          (count < 2 || (array.strides(0) % Entry == 0 && array.strides(0) >= 0));
        if (!fits) {
            refuseLayout(name);
        }
        stride = count < 2 ? 0 : static_cast<std::size_t>(array.strides(0) / Entry);
    }
    return array;
}

std::size_t sizeOf(const py::array& array, py::ssize_t fromLast) {
    return static_cast<std::size_t>(array.shape(array.ndim() - fromLast));
}

}  // namespace

void refuseLayout(const char* name) {
    throw py::value_error(std::string(name) + " has no layout that a batch can have");
}

py::object BatchArrays::named(const char* name) const {
    return arrays_.contains(name) ? py::object(arrays_[name]) : py::object();
}

MatrixBatch BatchArrays::matrix(const char* name) const {
    const py::object given = named(name);
    if (!given) {
        return {};
    }
    MatrixBatch matrices;
    const py::array array = arrayOf(given, name, count_, 2, matrices.stride);
    matrices.first = MatrixView(static_cast<const double*>(array.data()), sizeOf(array, 2),
                                sizeOf(array, 1), 0, Order::RowMajor);
    return matrices;
}

VectorBatch BatchArrays::vector(const char* name) const {
    const py::object given = named(name);
    if (!given) {
        return {};
    }
    VectorBatch vectors;
    const py::array array = arrayOf(given, name, count_, 1, vectors.stride);
    vectors.first = VectorView(static_cast<const double*>(array.data()), sizeOf(array, 1));
    return vectors;
}

VectorsOut BatchArrays::vectorsOut(const char* name, std::size_t size) const {
    const py::object given = named(name);
    if (!given) {
        return {};
    }
    VectorsOut vectors;
    py::array array = arrayOf(given, name, count_, 1, vectors.stride);
    const bool hasRoom = count_ < 2 || vectors.stride >= size;
    if (array.ndim() != 2 || sizeOf(array, 1) != size || !array.writeable() || !hasRoom) {
        refuseLayout(name);
    }
    vectors.data = static_cast<double*>(array.mutable_data());
    return vectors;
}

ProblemBatch problemsIn(const BatchArrays& arrays) {
    ProblemBatch batch;
    batch.count = arrays.count();
    batch.H = arrays.matrix("H");
    batch.A = arrays.matrix("A");
    batch.c = arrays.vector("c");
    batch.rowLower = arrays.vector("rowLower");
    batch.rowUpper = arrays.vector("rowUpper");
    batch.lower = arrays.vector("lower");
    batch.upper = arrays.vector("upper");
    batch.constant = arrays.vector("constant");
    batch.start = arrays.vector("start");
    return batch;
}

std::size_t variablesOf(const ProblemBatch& batch) {
    const Problem first = batch[0];
    return !first.c.empty() ? first.c.size() : !first.H.empty() ? first.H.cols() : first.A.cols();
}

}  // namespace activeset::python
