// The array record behind the handle, and how scopes and matrices hold on to it.
#ifndef ACTIVESET_SRC_HOST_VX_ARRAY_HPP
#define ACTIVESET_SRC_HOST_VX_ARRAY_HPP

#include <algorithm>
#include <array>
#include <cstddef>

#include "activeset/host.hpp"

struct vxArray {
    std::array<size_t, 2> dimensions{};
    vxClass elementClass = vxClass::Double;
    bool isSparse = false;
    bool isComplex = false;
    bool ownsData = true;
    bool isPersistent = false;
    bool isDataBehind = false;  // a small real buffer stands behind the record, in its block
    size_t capacity = 0;        // elements that the buffers have room for
    void* real = nullptr;
    void* imaginary = nullptr;
    size_t* rowIndices = nullptr;    // sparse: `capacity` entries
    size_t* columnStarts = nullptr;  // sparse: columns + 1 entries

    activeset::CallScope* scope = nullptr;  // reclaims this array; null when nobody does
    vxArray* newer = nullptr;               // neighbours in the scope's list
    vxArray* older = nullptr;
    size_t holders = 0;       // matrices that use an array which they do not own
    bool isOrphaned = false;  // no scope will reclaim it: the last holder destroys it
};

namespace activeset {

/// What the array functions may do to a scope's list.
struct ScopeAccess {
    /// Puts a new array into the innermost scope, if one is open.
    static void link(vxArray* array) noexcept;
    static void linkTo(CallScope* scope, vxArray* array) noexcept;
    static void unlink(vxArray* array) noexcept;
};

/// Raises ArrayErrorIdentifier for a null handle.
const vxArray& checkedArray(const vxArray* array);
vxArray& checkedArray(vxArray* array);

/// In bytes.
[[nodiscard]] size_t elementSize(vxClass elementClass) noexcept;

[[nodiscard]] inline size_t numberOfElements(const vxArray& array) noexcept {
    return array.dimensions[0] * array.dimensions[1];
}

/// a·b; a product that cannot be represented becomes the largest size, which cannot be had either.
[[nodiscard]] size_t productOrTooMuch(size_t a, size_t b) noexcept;

/// A matrix begins to use an array that it made but leaves to the scope: the scope's end spares it.
/// Where no scope is open, the array goes with its last holder.
void holdArray(vxArray* array) noexcept;
/// The matrix goes; the array goes with it if its scope has closed meanwhile.
void letGoOfArray(vxArray* array) noexcept;

/// Calls visit(entry, row) for the stored entries of a column of a sparse array; entries outside
/// the array or its buffers, which a careless caller may have left there, are passed over.
template <class Visitor>
void forEachEntry(const vxArray& array, size_t column, Visitor visit) {
    const size_t first = std::min(array.columnStarts[column], array.capacity);
    const size_t last = std::min(array.columnStarts[column + 1], array.capacity);
    for (size_t entry = first; entry < last; ++entry) {
        const size_t row = array.rowIndices[entry];
        if (row < array.dimensions[0]) {
            visit(entry, row);
        }
    }
}

}  // namespace activeset

#endif
