// Host arrays: creation, copies, shape, access, text.
#include "host/vx_array.hpp"

#include <cstring>
#include <limits>
#include <new>
#include <numeric>
#include <sstream>

#include "host/handles.hpp"
#include "thread_state.hpp"

namespace activeset {

/// What the array functions may do to a scope's list.
struct ScopeAccess {
    static void link(vxArray* array) noexcept {
        CallScope* scope = threadState().innermostScope;
        array->scope = scope;
        if (scope != nullptr) {
            linkTo(scope, array);
        }
    }

    static void linkTo(CallScope* scope, vxArray* array) noexcept {
        array->scope = scope;
        array->newer = nullptr;
        array->older = scope->newest_;
        if (scope->newest_ != nullptr) {
            scope->newest_->newer = array;
        }
        scope->newest_ = array;
    }

    static void unlink(vxArray* array) noexcept {
        if (array->scope == nullptr) {
            return;
        }
        if (array->newer != nullptr) {
            array->newer->older = array->older;
        } else {
            array->scope->newest_ = array->older;
        }
        if (array->older != nullptr) {
            array->older->newer = array->newer;
        }
        array->scope = nullptr;
        array->newer = nullptr;
        array->older = nullptr;
    }
};

void holdArray(vxArray* array) noexcept {
    ++array->holders;
    array->isOrphaned = array->isOrphaned || (array->scope == nullptr && !array->isPersistent);
}

void letGoOfArray(vxArray* array) noexcept {
    if (--array->holders == 0 && array->isOrphaned) {
        vxDestroyArray(array);
    }
}

CallScope::CallScope() noexcept : enclosing_(threadState().innermostScope) {
    threadState().innermostScope = this;
}

CallScope::~CallScope() {
    while (newest_ != nullptr) {
        vxArray* array = newest_;
        ScopeAccess::unlink(array);
        if (array->holders > 0) {
            array->isOrphaned = true;
        } else {
            vxDestroyArray(array);
        }
    }
    threadState().innermostScope = enclosing_;
}

vxArray* CallScope::keep(vxArray* array) noexcept {
    if (array != nullptr && array->scope == this) {
        ScopeAccess::unlink(array);
        if (enclosing_ != nullptr) {
            ScopeAccess::linkTo(enclosing_, array);
        }
    }
    return array;
}

std::int64_t liveArrayCount() noexcept {
    return threadState().liveArrays;
}

}  // namespace activeset

namespace {

using activeset::ArrayErrorIdentifier;
using activeset::ScopeAccess;
using activeset::threadState;

size_t elementSize(vxClass elementClass) noexcept {
    switch (elementClass) {
        case vxClass::Double:
            return sizeof(double);
        case vxClass::Single:
            return sizeof(float);
        case vxClass::Int32:
            return sizeof(std::int32_t);
        case vxClass::Logical:
        case vxClass::Char:
            break;
    }
    return 1;
}

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

// A size that cannot be represented cannot be had either.
size_t productOrTooMuch(size_t a, size_t b) noexcept {
    size_t product = 0;
    return __builtin_mul_overflow(a, b, &product) ? std::numeric_limits<size_t>::max() : product;
}

const vxArray& checked(const vxArray* array) {
    if (array == nullptr) {
        vxErrMsgIdAndTxt(ArrayErrorIdentifier, "Array handle is null.");
    }
    return *array;
}

vxArray& checked(vxArray* array) {
    checked(static_cast<const vxArray*>(array));
    return *array;
}

const vxArray& checkedSparse(const vxArray* array) {
    if (!checked(array).isSparse) {
        vxErrMsgIdAndTxt(ArrayErrorIdentifier, "Array is not sparse.");
    }
    return *array;
}

size_t numberOfElements(const vxArray& array) noexcept {
    return array.dimensions[0] * array.dimensions[1];
}

void freeData(vxArray& array) noexcept {
    if (array.ownsData) {
        vxFreeEx(array.isDataBehind ? nullptr : array.real);
        vxFreeEx(array.imaginary);
    }
    vxFreeEx(array.rowIndices);
    vxFreeEx(array.columnStarts);
}

// Where a buffer behind the record begins, aligned as malloc aligns; and the largest one that is
// put there. Small arrays come and go by the hundred in a small solve: one block each is enough.
constexpr size_t RecordSize = (sizeof(vxArray) + 15) / 16 * 16;
constexpr size_t LargestBehind = 1024;

// Destroys an array that is still being made when memory runs out.
class Draft {
public:
    /// @param bytesBehind  room for a buffer behind the record, up to LargestBehind
    Draft(size_t m, size_t n, vxClass elementClass, vxComplexity complexity, size_t bytesBehind = 0)
        : array_(::new (vxMallocExCheck(RecordSize + bytesBehind)) vxArray) {
        array_->dimensions = {m, n};
        array_->elementClass = elementClass;
        array_->isComplex = complexity == vxComplexity::Complex;
        ++threadState().liveArrays;
    }
    ~Draft() { vxDestroyArray(array_); }
    Draft(const Draft&) = delete;
    Draft(Draft&&) = delete;
    Draft& operator=(const Draft&) = delete;
    Draft& operator=(Draft&&) = delete;

    vxArray* operator->() const noexcept { return array_; }

    /// Takes the room behind the record for the elements.
    void useRoomBehind(size_t capacity, size_t bytes) {
        array_->capacity = capacity;
        array_->isDataBehind = true;
        array_->real = reinterpret_cast<char*>(array_) + RecordSize;
        std::memset(array_->real, 0, bytes);
    }

    void allocate(size_t capacity) {
        const size_t size = elementSize(array_->elementClass);
        array_->capacity = capacity;
        array_->real = vxCalloc(capacity, size);
        if (array_->isComplex) {
            array_->imaginary = vxCalloc(capacity, size);
        }
    }

    vxArray* release() noexcept {
        vxArray* array = array_;
        array_ = nullptr;
        ScopeAccess::link(array);
        return array;
    }

private:
    vxArray* array_;
};

void copyBytes(void* target, const void* source, size_t bytes) noexcept {
    if (bytes != 0 && target != nullptr && source != nullptr) {
        std::memcpy(target, source, bytes);
    }
}

// What the buffers of a full or sparse array are known to hold.
size_t storedElements(const vxArray& array) noexcept {
    return array.isSparse ? array.capacity : numberOfElements(array);
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
        activeset::forEachEntry(source, j, [&](size_t, size_t) { ++stored; });
    }
    // Before the array is made: should memory run out here, nobody would own it yet.
    const activeset::HostBuffer<size_t> filled(m);
    vxArray* result =
        vxCreateSparse(n, m, stored, source.isComplex ? vxComplexity::Complex : vxComplexity::Real);
    size_t* starts = result->columnStarts;
    for (size_t j = 0; j < n; ++j) {
        activeset::forEachEntry(source, j, [&](size_t, size_t row) { ++starts[row + 1]; });
    }
    std::partial_sum(starts, starts + m + 1, starts);
    const size_t size = elementSize(source.elementClass);
    for (size_t j = 0; j < n; ++j) {
        activeset::forEachEntry(source, j, [&](size_t entry, size_t row) {
            const size_t place = starts[row] + filled[row]++;
            result->rowIndices[place] = j;
            copyElement(result->real, place, source.real, entry, size);
            copyElement(result->imaginary, place, source.imaginary, entry, size);
        });
    }
    return result;
}

void requireShape(const vxArray& array, size_t m, size_t n) {
    if (array.isSparse) {
        vxErrMsgIdAndTxt(ArrayErrorIdentifier, "The shape of a sparse array can not be changed.");
    }
    if (productOrTooMuch(m, n) > array.capacity) {
        vxErrMsgIdAndTxt(ArrayErrorIdentifier,
                         "%zu-by-%zu elements do not fit into a buffer of %zu.", m, n,
                         array.capacity);
    }
}

}  // namespace

vxArray* vxCreateNumericMatrix(size_t m, size_t n, vxClass elementClass, vxComplexity complexity) {
    const size_t count = productOrTooMuch(m, n);
    const size_t bytes = productOrTooMuch(count, elementSize(elementClass));
    if (bytes != 0 && bytes <= LargestBehind && complexity == vxComplexity::Real) {
        Draft draft(m, n, elementClass, complexity, bytes);
        draft.useRoomBehind(count, bytes);
        return draft.release();
    }
    Draft draft(m, n, elementClass, complexity);
    draft.allocate(count);
    return draft.release();
}

vxArray* vxCreateDoubleMatrix(size_t m, size_t n, vxComplexity complexity) {
    return vxCreateNumericMatrix(m, n, vxClass::Double, complexity);
}

vxArray* vxCreateSparse(size_t m, size_t n, size_t capacity, vxComplexity complexity) {
    Draft draft(m, n, vxClass::Double, complexity);
    draft->isSparse = true;
    draft.allocate(capacity);
    draft->rowIndices = static_cast<size_t*>(vxCalloc(capacity, sizeof(size_t)));
    const size_t starts = n == std::numeric_limits<size_t>::max() ? n : n + 1;
    draft->columnStarts = static_cast<size_t*>(vxCalloc(starts, sizeof(size_t)));
    return draft.release();
}

vxArray* vxCreateDoubleMatrixFrom(const double* values, size_t m, size_t n) {
    vxArray* array = vxCreateDoubleMatrix(m, n, vxComplexity::Real);
    copyBytes(array->real, values, numberOfElements(*array) * sizeof(double));
    return array;
}

vxArray* vxWrapDoubleMatrix(double* values, size_t m, size_t n) {
    Draft draft(m, n, vxClass::Double, vxComplexity::Real);
    draft->ownsData = false;
    draft->real = values;
    draft->capacity = values == nullptr ? 0 : productOrTooMuch(m, n);
    requireShape(*draft.operator->(), m, n);
    return draft.release();
}

vxArray* vxCreateDoubleScalar(double value) {
    return vxCreateDoubleMatrixFrom(&value, 1, 1);
}

vxArray* vxCreateCharArray(std::string_view text) {
    vxArray* array = vxCreateNumericMatrix(1, text.size(), vxClass::Char, vxComplexity::Real);
    copyBytes(array->real, text.data(), text.size());
    return array;
}

vxArray* vxCreateDeepCopy(const vxArray* array) {
    const vxArray& source = checked(array);
    Draft draft(source.dimensions[0], source.dimensions[1], source.elementClass,
                source.isComplex ? vxComplexity::Complex : vxComplexity::Real);
    const size_t stored = storedElements(source);
    draft.allocate(stored);
    const size_t bytes = stored * elementSize(source.elementClass);
    copyBytes(draft->real, source.real, bytes);
    copyBytes(draft->imaginary, source.imaginary, bytes);
    if (source.isSparse) {
        const size_t starts = source.dimensions[1] + 1;
        draft->isSparse = true;
        draft->rowIndices = static_cast<size_t*>(vxCalloc(stored, sizeof(size_t)));
        draft->columnStarts = static_cast<size_t*>(vxCalloc(starts, sizeof(size_t)));
        copyBytes(draft->rowIndices, source.rowIndices, stored * sizeof(size_t));
        copyBytes(draft->columnStarts, source.columnStarts, starts * sizeof(size_t));
    }
    return draft.release();
}

vxArray* vxTranspose(const vxArray* array) {
    const vxArray& source = checked(array);
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

void vxDestroyArray(vxArray* array) noexcept {
    if (array == nullptr) {
        return;
    }
    ScopeAccess::unlink(array);
    freeData(*array);
    array->~vxArray();
    vxFreeEx(array);
    --threadState().liveArrays;
}

const size_t* vxGetDimensions(const vxArray* array) {
    return checked(array).dimensions.data();
}

size_t vxGetM(const vxArray* array) {
    return checked(array).dimensions[0];
}

size_t vxGetN(const vxArray* array) {
    return checked(array).dimensions[1];
}

size_t vxGetNumberOfElements(const vxArray* array) {
    return numberOfElements(checked(array));
}

vxClass vxGetClass(const vxArray* array) {
    return checked(array).elementClass;
}

bool vxIsEmpty(const vxArray* array) {
    return checked(array).dimensions[0] == 0 || array->dimensions[1] == 0;
}

bool vxIsSparse(const vxArray* array) {
    return checked(array).isSparse;
}

bool vxIsComplex(const vxArray* array) {
    return checked(array).isComplex;
}

bool vxIsDouble(const vxArray* array) {
    return checked(array).elementClass == vxClass::Double;
}

bool vxIsPersistent(const vxArray* array) {
    return checked(array).isPersistent;
}

void* vxGetData(const vxArray* array) {
    return checked(array).real;
}

double* vxGetDoubles(const vxArray* array) {
    if (checked(array).elementClass != vxClass::Double) {
        vxErrMsgIdAndTxt(ArrayErrorIdentifier, "Array is not of class double.");
    }
    return static_cast<double*>(array->real);
}

void* vxGetImaginaryData(const vxArray* array) {
    return checked(array).imaginary;
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
    const vxArray& source = checked(array);
    if (row >= source.dimensions[0] || column >= source.dimensions[1]) {
        vxErrMsgIdAndTxt(ArrayErrorIdentifier, "Element index is outside the array.");
    }
    if (!source.isSparse) {
        return asDouble(source, column * source.dimensions[0] + row);
    }
    double value = 0.0;
    activeset::forEachEntry(source, column, [&](size_t entry, size_t entryRow) {
        if (entryRow == row) {
            value = asDouble(source, entry);
        }
    });
    return value;
}

void vxSetM(vxArray* array, size_t m) {
    requireShape(checked(array), m, array->dimensions[1]);
    array->dimensions[0] = m;
}

void vxSetN(vxArray* array, size_t n) {
    requireShape(checked(array), array->dimensions[0], n);
    array->dimensions[1] = n;
}

void vxSetData(vxArray* array, void* buffer, size_t capacity) {
    vxArray& target = checked(array);
    if (target.isSparse || target.isComplex) {
        vxErrMsgIdAndTxt(ArrayErrorIdentifier, "A buffer attaches to full real arrays only.");
    }
    const size_t room = buffer == nullptr ? 0 : capacity;
    if (numberOfElements(target) > room) {
        vxErrMsgIdAndTxt(ArrayErrorIdentifier, "The buffer is shorter than the array.");
    }
    if (target.ownsData && buffer != nullptr && buffer == target.real) {
        return;  // the array's own buffer stays its own
    }
    freeData(target);
    target.ownsData = false;
    target.real = buffer;
    target.capacity = room;
}

void vxSetArrayScope(vxArray* array, int scope) {
    ScopeAccess::unlink(&checked(array));
    array->isPersistent = scope == 0;
    if (!array->isPersistent) {
        ScopeAccess::link(array);
    }
    array->isOrphaned = array->holders > 0 && array->scope == nullptr && !array->isPersistent;
}

std::string vxArrayToStdString(const vxArray* array) {
    if (array == nullptr || array->elementClass != vxClass::Char || array->real == nullptr) {
        return {};
    }
    return {static_cast<const char*>(array->real), numberOfElements(*array)};
}

std::string vxDescribe(const vxArray* array) {
    const vxArray& source = checked(array);
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
