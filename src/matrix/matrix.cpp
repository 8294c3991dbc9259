// The matrix's storage: construction, copies, release.
#include "activeset/matrix.hpp"

#include <algorithm>
#include <limits>

#include "host/vx_array.hpp"
#include "matrix/fault.hpp"
#include "matrix/matrix_pool.hpp"
#include "thread_state.hpp"

using activeset::PoolEntry;
using activeset::raiseMatrixFault;

namespace {

std::int64_t nextId() noexcept {
    // Wraps like the 32-bit counter that it is.
    std::int32_t& serial = activeset::threadState().matrixSerial;
    serial = static_cast<std::int32_t>(static_cast<std::uint32_t>(serial) + 1U);
    return serial;
}

}  // namespace

OPTMatrix<double>::OPTMatrix() : id(nextId()) {}

OPTMatrix<double>::OPTMatrix(size_t rowCount, size_t columnCount, bool pooled)
    : rows(rowCount), cols(columnCount), id(nextId()), isPooled(pooled) {
    if (!pooled) {
        _createStorage();
        return;
    }
    poolEntry = activeset::MatrixPool::ofThread().acquire(rowCount, columnCount);
    poolEntry->borrow();
    hostArray = poolEntry->hostArray();
    data = static_cast<double*>(hostArray->real);
}

OPTMatrix<double>::OPTMatrix(double* buffer, size_t rowCount, size_t columnCount)
    : rows(rowCount), cols(columnCount), id(nextId()), wrapsHostArray(true), origin(2) {
    hostArray = vxWrapDoubleMatrix(buffer, rowCount, columnCount);
    vxSetArrayScope(hostArray, 0);
    data = buffer;
}

OPTMatrix<double>::OPTMatrix(const vxArray* array)
    : id(nextId()), isSparse(true), wrapsHostArray(true), origin(1) {
    if (array == nullptr) {
        return;
    }
    if (array->elementClass != vxClass::Double) {
        raiseMatrixFault("Matrix must be of class double");
    }
    // Read only: nothing is written through a matrix that wraps a caller's array unless the
    // caller assigns to it.
    hostArray = const_cast<vxArray*>(array);  // NOLINT(cppcoreguidelines-pro-type-const-cast)
    rows = hostArray->dimensions[0];
    cols = hostArray->dimensions[1];
    data = static_cast<double*>(hostArray->real);
    isSparse = hostArray->isSparse;
    isCompressed = hostArray->isSparse;
}

OPTMatrix<double>::OPTMatrix(const OPTMatrix& other)
    : rows(other.rows),
      cols(other.cols),
      id(other.id + 1000),
      isCopy(1),
      isSparse(other.isSparse),
      isPooled(other.isPooled),
      wrapsHostArray(other.wrapsHostArray),
      origin(other.origin) {
    if (other.isPooled) {
        poolEntry = other.poolEntry;
        poolEntry->borrow();
        hostArray = other.hostArray;
        data = other.data;
        return;
    }
    hostArray = vxCreateDoubleMatrix(rows, cols, vxComplexity::Real);
    activeset::holdArray(hostArray);
    holdsArray = true;
    data = static_cast<double*>(hostArray->real);
    _copyElements(other);
}

OPTMatrix<double>::~OPTMatrix() {
    _releaseStorage();
}

OPTMatrix<double>& OPTMatrix<double>::operator=(const OPTMatrix& other) {
    if (this == &other) {
        return *this;
    }
    if (rows == other.rows && cols == other.cols) {
        _copyElements(other);
        return *this;
    }
    if (size() != 0) {
        activeset::printAssignmentSizes(*this, other);
        raiseMatrixFault("Incompatible dimensions for matrix assignment");
    }
    vxArray* created = vxCreateDoubleMatrix(other.rows, other.cols, vxComplexity::Real);
    vxSetArrayScope(created, 0);
    _releaseStorage();
    rows = other.rows;
    cols = other.cols;
    hostArray = created;
    data = static_cast<double*>(created->real);
    isPooled = false;
    wrapsHostArray = false;
    origin = 0;
    isSparse = other.isSparse;
    _copyElements(other);
    return *this;
}

void OPTMatrix<double>::reset(size_t rowCount, size_t columnCount) {
    clear();
    vxArray* created = vxCreateDoubleMatrix(rowCount, columnCount, vxComplexity::Real);
    vxSetArrayScope(created, 0);
    hostArray = created;
    data = static_cast<double*>(created->real);
    rows = rowCount;
    cols = columnCount;
    wrapsHostArray = false;
    origin = 0;
    isSparse = false;
}

void OPTMatrix<double>::clear() {
    if (hostArray == nullptr) {
        return;
    }
    if (wrapsHostArray && origin != 2) {
        raiseMatrixFault("Can not delete matrix that was created with vxArray");
    }
    _releaseStorage();
    rows = 0;
    cols = 0;
    isPooled = false;
}

void OPTMatrix<double>::_createStorage() {
    hostArray = vxCreateDoubleMatrix(rows, cols, vxComplexity::Real);
    vxSetArrayScope(hostArray, 0);
    data = static_cast<double*>(hostArray->real);
}

// Gives back what this matrix uses in the way that its kind demands; the shape stays.
void OPTMatrix<double>::_releaseStorage() noexcept {
    if (isPooled && poolEntry != nullptr) {
        PoolEntry::giveBack(poolEntry);
    } else if (hostArray != nullptr && origin != 1) {
        vxDestroyArray(hostArray);  // a wrapped buffer is not the array's and survives
    } else if (holdsArray) {
        activeset::letGoOfArray(hostArray);
    }
    poolEntry = nullptr;
    hostArray = nullptr;
    data = nullptr;
    holdsArray = false;
    isCompressed = false;
}

void OPTMatrix<double>::_copyElements(const OPTMatrix& source) {
    if (!isCompressed && !source.isCompressed) {
        std::copy_n(source.data, size(), data);
        return;
    }
    for (size_t j = 0; j < cols; ++j) {
        for (size_t i = 0; i < rows; ++i) {
            const double value = source(i, j);
            (*this)(i, j) = value;
        }
    }
}

size_t OPTMatrix<double>::getRefCount() const noexcept {
    return poolEntry == nullptr ? 0 : poolEntry->borrowers();
}

OPTMatrix<double> OPTMatrix<double>::transpose() const {
    vxArray* transposed = hostArray == nullptr ? vxCreateDoubleMatrix(0, 0, vxComplexity::Real)
                                               : vxTranspose(hostArray);
    OPTMatrix result(transposed);
    activeset::holdArray(transposed);
    result.holdsArray = true;
    return result;
}

vxArray* OPTMatrix<double>::toVxArray() const {
    return hostArray == nullptr ? vxCreateDoubleMatrix(0, 0, vxComplexity::Real)
                                : vxCreateDeepCopy(hostArray);
}

double activeset::machineEpsilon() noexcept {
    return std::numeric_limits<double>::epsilon();
}
