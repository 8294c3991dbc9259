// A list of 0-based indices in the host's memory, shared by its copies.
#ifndef ACTIVESET_INTERNAL_INDEX_LIST_HPP
#define ACTIVESET_INTERNAL_INDEX_LIST_HPP

#include <cstddef>
#include <memory>

#include "activeset/export.hpp"

namespace activeset {

/// "No index": the all-ones value.
inline constexpr size_t NoIndex = ~size_t{0};

/// Entries allocated with vxMallocExCheck and freed by whichever copy goes last, so that copies
/// see each other's edits and none frees what another still uses. How many entries are in use is
/// not kept here.
class ACTIVESET_API IndexList {
public:
    /// Null until reserve() is called.
    [[nodiscard]] size_t* get() const noexcept { return entries_.get(); }
    [[nodiscard]] size_t capacity() const noexcept { return capacity_; }
    [[nodiscard]] bool isNull() const noexcept { return entries_ == nullptr; }

    /// Makes room for at least `capacity` entries and at least one. A list that grows keeps its
    /// entries but no longer shares them with its copies. Raises out of memory.
    void reserve(size_t capacity);

private:
    std::shared_ptr<size_t[]> entries_;
    size_t capacity_ = 0;
};

}  // namespace activeset

#endif
