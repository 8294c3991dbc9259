// Index lists in the host's memory.
#include "activeset/internal/index_list.hpp"

#include <algorithm>

#include "activeset/host.hpp"

namespace activeset {

void IndexList::reserve(size_t capacity) {
    const size_t wanted = std::max<size_t>(capacity, 1);
    if (wanted <= capacity_) {
        return;
    }
    const size_t bytes = wanted > SIZE_MAX / sizeof(size_t) ? SIZE_MAX : wanted * sizeof(size_t);
    auto* memory = static_cast<size_t*>(vxMallocExCheck(bytes));
    std::shared_ptr<size_t[]> grown(memory, [](size_t* list) { vxFreeEx(list); });
    std::copy_n(entries_.get(), capacity_, memory);
    std::fill_n(memory + capacity_, wanted - capacity_, NoIndex);
    entries_ = std::move(grown);
    capacity_ = wanted;
}

}  // namespace activeset
