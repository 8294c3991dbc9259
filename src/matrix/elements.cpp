// Access to the elements of a matrix: one by one, by rows and columns, by blocks, and over all.
#include <algorithm>
#include <cmath>

#include "activeset/matrix.hpp"
#include "host/vx_array.hpp"
#include "matrix/fault.hpp"
#include "thread_state.hpp"

using activeset::raiseMatrixFault;

double* OPTMatrix<double>::_sparseElement(size_t i, size_t j) const {
    double* cell = &activeset::threadState().zeroCell;
    *cell = 0.0;
    activeset::forEachEntry(*hostArray, j, [&](size_t entry, size_t row) {
        if (row == i) {
            cell = data + entry;
        }
    });
    return cell;
}

void OPTMatrix<double>::_raiseIndexError(size_t i) const {
    raiseMatrixFault(i >= rows ? "Index exceed number of row." : "Index exceed number of columns.");
}

OPTMatrix<double> OPTMatrix<double>::row(size_t i) const {
    if (i >= rows) {
        _raiseIndexError(i);  // also where there is no column to be read
    }
    OPTMatrix result(1, cols, true);
    for (size_t k = 0; k < cols; ++k) {
        result(0, k) = (*this)(i, k);
    }
    return result;
}

OPTMatrix<double> OPTMatrix<double>::column(size_t j) const {
    OPTMatrix result(rows, 1, true);
    for (size_t k = 0; k < rows; ++k) {
        result(k, 0) = (*this)(k, j);
    }
    return result;
}

OPTMatrix<double> OPTMatrix<double>::diagonal() const {
    OPTMatrix result(std::min(rows, cols), 1, true);
    for (size_t k = 0; k < result.rows; ++k) {
        result(k, 0) = (*this)(k, k);
    }
    return result;
}

void OPTMatrix<double>::copyColumn(size_t dst, size_t src) {
    if (!isCompressed && dst != src && dst < cols && src < cols) {
        std::copy_n(data + src * rows, rows, data + dst * rows);
        return;
    }
    for (size_t i = 0; i < rows; ++i) {
        const double value = (*this)(i, src);
        (*this)(i, dst) = value;
    }
}

void OPTMatrix<double>::setColumn(size_t j, std::span<const double> buffer) {
    if (buffer.size() < rows) {
        raiseMatrixFault("Index exceed number of row.");
    }
    if (!isCompressed && j < cols) {
        std::copy_n(buffer.data(), rows, data + j * rows);
        return;
    }
    for (size_t i = 0; i < rows; ++i) {
        (*this)(i, j) = buffer[i];
    }
}

void OPTMatrix<double>::copyBlock(
    size_t r0, size_t r1, size_t c0, size_t c1, std::span<double> buffer) const {
    if (c0 > c1 || r0 > r1) {
        return;
    }
    size_t next = 0;
    for (size_t j = c0; j <= c1; ++j) {
        for (size_t i = r0; i <= r1; ++i) {
            const double value = (*this)(i, j);
            if (next == buffer.size()) {
                raiseMatrixFault("Index exceed number of row.");
            }
            buffer[next++] = value;
        }
    }
}

void OPTMatrix<double>::fill(double s) {
    std::fill_n(data, isCompressed ? hostArray->capacity : size(), s);
}

OPTMatrix<double>::Maximum OPTMatrix<double>::maximum() const {
    Maximum largest{(*this)(0, 0), 0, 0};
    for (size_t j = 0; j < cols; ++j) {
        for (size_t i = 0; i < rows; ++i) {
            const double value = (*this)(i, j);
            if (value > largest.value) {
                largest = {value, i, j};
            }
        }
    }
    return largest;
}

double OPTMatrix<double>::norm() const {
    double sum = 0.0;
    for (size_t i = 0; i < rows && cols != 0; ++i) {
        for (size_t j = 0; j < cols; ++j) {
            const double value = (*this)(i, j);
            sum += value * value;
        }
    }
    if (sum > 0.0) {
        return std::sqrt(sum);
    }
    // Zero passes, NaN does not.
    return std::sqrt(activeset::machineEpsilon()) > std::abs(sum) ? 0.0 : -1.0;
}
