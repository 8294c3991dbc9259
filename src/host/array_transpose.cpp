// The transpose of a full and of a sparse array.
#include <cstring>
#include <numeric>

#include "host/handles.hpp"
#include "host/vx_array.hpp"

namespace {

using activeset::checkedArray;
using activeset::elementSize;
using activeset::forEachEntry;

void copyElement(
    void* to, size_t toPlace, const void* from, size_t fromPlace, size_t size) noexcept {
    if (to != nullptr && from != nullptr) {
        std::memcpy(static_cast<char*>(to) + toPlace * size,
                    static_cast<const char*>(from) + fromPlace * size, size);
    }
}

void transposeFull(const void* source, void* target, size_t m, size_t n, size_t size) noexcept {
    for (size_t j = 0; j < n && m != 0; ++j) {
        for (size_t i = 0; i < m; ++i) {
            copyElement(target, i * n + j, source, j * m + i, size);
        }
    }
}

// Counts the entries of each row first: they become the columns of the result.
vxArray* transposeSparse(const vxArray& source) {
    const size_t m = source.dimensions[0];
    const size_t n = source.dimensions[1];
    size_t stored = 0;
    for (size_t j = 0; j < n; ++j) {
        forEachEntry(source, j, [&](size_t, size_t) { ++stored; });
    }
    // Before the array is made: should memory run out here, nobody would own it yet.
    const activeset::HostBuffer<size_t> filled(m);
    vxArray* result =
        vxCreateSparse(n, m, stored, source.isComplex ? vxComplexity::Complex : vxComplexity::Real);
    size_t* starts = result->columnStarts;
    for (size_t j = 0; j < n; ++j) {
        forEachEntry(source, j, [&](size_t, size_t row) { ++starts[row + 1]; });
    }
    std::partial_sum(starts, starts + m + 1, starts);
    const size_t size = elementSize(source.elementClass);
    for (size_t j = 0; j < n; ++j) {
        forEachEntry(source, j, [&](size_t entry, size_t row) {
            const size_t place = starts[row] + filled[row]++;
            result->rowIndices[place] = j;
            copyElement(result->real, place, source.real, entry, size);
            copyElement(result->imaginary, place, source.imaginary, entry, size);
        });
    }
    return result;
}

}  // namespace

vxArray* vxTranspose(const vxArray* array) {
    const vxArray& source = checkedArray(array);
    if (source.isSparse) {
        return transposeSparse(source);
    }
    const size_t m = source.dimensions[0];
    const size_t n = source.dimensions[1];
    vxArray* result = vxCreateNumericMatrix(
        n, m, source.elementClass, source.isComplex ? vxComplexity::Complex : vxComplexity::Real);
    const size_t size = elementSize(source.elementClass);
    transposeFull(source.real, result->real, m, n, size);
    transposeFull(source.imaginary, result->imaginary, m, n, size);
    return result;
}
