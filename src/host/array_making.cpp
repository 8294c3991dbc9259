// How an array is made, gets another shape or buffer, and is destroyed.
#include <cstring>
#include <limits>
#include <new>

#include "host/vx_array.hpp"
#include "thread_state.hpp"

namespace activeset {

const vxArray& checkedArray(const vxArray* array) {
    if (array == nullptr) {
        vxErrMsgIdAndTxt(ArrayErrorIdentifier, "Array handle is null.");
    }
    return *array;
}

vxArray& checkedArray(vxArray* array) {
    checkedArray(static_cast<const vxArray*>(array));
    return *array;
}

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

size_t productOrTooMuch(size_t a, size_t b) noexcept {
    size_t product = 0;
    return __builtin_mul_overflow(a, b, &product) ? std::numeric_limits<size_t>::max() : product;
}

}  // namespace activeset

namespace {

using activeset::ArrayErrorIdentifier;
using activeset::checkedArray;
using activeset::elementSize;
using activeset::numberOfElements;
using activeset::productOrTooMuch;
using activeset::ScopeAccess;
using activeset::threadState;

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
    const vxArray& source = checkedArray(array);
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

void vxSetM(vxArray* array, size_t m) {
    requireShape(checkedArray(array), m, array->dimensions[1]);
    array->dimensions[0] = m;
}

void vxSetN(vxArray* array, size_t n) {
    requireShape(checkedArray(array), array->dimensions[0], n);
    array->dimensions[1] = n;
}

void vxSetData(vxArray* array, void* buffer, size_t capacity) {
    vxArray& target = checkedArray(array);
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
