// What can be asked of an array: shape, class, buffers, single elements, text.
#include <cstring>
#include <sstream>

#include "host/vx_array.hpp"

namespace {

using activeset::ArrayErrorIdentifier;
using activeset::checkedArray;
using activeset::forEachEntry;
using activeset::numberOfElements;

const char* nameOf(vxClass elementClass) noexcept {
    switch (elementClass) {
        case vxClass::Double:
            return "double";
        case vxClass::Single:
            return "single";
        case vxClass::Int32:
            return "int32";
        case vxClass::Logical:
            return "logical";
        case vxClass::Char:
            break;
    }
    return "char";
}

const vxArray& checkedSparse(const vxArray* array) {
    if (!checkedArray(array).isSparse) {
        vxErrMsgIdAndTxt(ArrayErrorIdentifier, "Array is not sparse.");
    }
    return *array;
}

template <class T>
T at(const void* data, size_t position) noexcept {
    T value;
    std::memcpy(&value, static_cast<const char*>(data) + position * sizeof(T), sizeof(T));
    return value;
}

double asDouble(const vxArray& array, size_t position) noexcept {
    switch (array.elementClass) {
        case vxClass::Double:
            return at<double>(array.real, position);
        case vxClass::Single:
            return static_cast<double>(at<float>(array.real, position));
        case vxClass::Int32:
            return static_cast<double>(at<std::int32_t>(array.real, position));
        case vxClass::Logical:
        case vxClass::Char:
            break;
    }
    return static_cast<double>(at<unsigned char>(array.real, position));
}

}  // namespace

const size_t* vxGetDimensions(const vxArray* array) {
    return checkedArray(array).dimensions.data();
}

size_t vxGetM(const vxArray* array) {
    return checkedArray(array).dimensions[0];
}

size_t vxGetN(const vxArray* array) {
    return checkedArray(array).dimensions[1];
}

size_t vxGetNumberOfElements(const vxArray* array) {
    return numberOfElements(checkedArray(array));
}

vxClass vxGetClass(const vxArray* array) {
    return checkedArray(array).elementClass;
}

bool vxIsEmpty(const vxArray* array) {
    return checkedArray(array).dimensions[0] == 0 || array->dimensions[1] == 0;
}

bool vxIsSparse(const vxArray* array) {
    return checkedArray(array).isSparse;
}

bool vxIsComplex(const vxArray* array) {
    return checkedArray(array).isComplex;
}

bool vxIsDouble(const vxArray* array) {
    return checkedArray(array).elementClass == vxClass::Double;
}

void* vxGetData(const vxArray* array) {
    return checkedArray(array).real;
}

double* vxGetDoubles(const vxArray* array) {
    if (checkedArray(array).elementClass != vxClass::Double) {
        vxErrMsgIdAndTxt(ArrayErrorIdentifier, "Array is not of class double.");
    }
    return static_cast<double*>(array->real);
}

void* vxGetImaginaryData(const vxArray* array) {
    return checkedArray(array).imaginary;
}

size_t* vxGetRowIndices(const vxArray* array) {
    return checkedSparse(array).rowIndices;
}

size_t* vxGetColumnStarts(const vxArray* array) {
    return checkedSparse(array).columnStarts;
}

size_t vxGetEntryCapacity(const vxArray* array) {
    return checkedSparse(array).capacity;
}

double vxGetElement(const vxArray* array, size_t row, size_t column) {
    const vxArray& source = checkedArray(array);
    if (row >= source.dimensions[0] || column >= source.dimensions[1]) {
        vxErrMsgIdAndTxt(ArrayErrorIdentifier, "Element index is outside the array.");
    }
    if (!source.isSparse) {
        return asDouble(source, column * source.dimensions[0] + row);
    }
    double value = 0.0;
    forEachEntry(source, column, [&](size_t entry, size_t entryRow) {
        if (entryRow == row) {
            value = asDouble(source, entry);
        }
    });
    return value;
}

std::string vxArrayToStdString(const vxArray* array) {
    if (array == nullptr || array->elementClass != vxClass::Char || array->real == nullptr) {
        return {};
    }
    return {static_cast<const char*>(array->real), numberOfElements(*array)};
}

std::string vxDescribe(const vxArray* array) {
    const vxArray& source = checkedArray(array);
    std::ostringstream text;
    text << source.dimensions[0] << "-by-" << source.dimensions[1] << ' '
         << nameOf(source.elementClass) << (source.isComplex ? " complex" : "")
         << (source.isSparse ? " sparse" : "") << '\n';
    for (size_t i = 0; i < source.dimensions[0] && source.dimensions[1] != 0; ++i) {
        for (size_t j = 0; j < source.dimensions[1]; ++j) {
            text << (j == 0 ? "" : " ") << vxGetElement(array, i, j);
        }
        text << '\n';
    }
    return text.str();
}
