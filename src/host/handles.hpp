// RAII over host arrays and host memory.
#ifndef ACTIVESET_SRC_HOST_HANDLES_HPP
#define ACTIVESET_SRC_HOST_HANDLES_HPP

#include <cstddef>
#include <memory>
#include <span>

#include "activeset/host.hpp"

namespace activeset {

/// An array that its holder destroys; made persistent so that no scope does.
inline std::shared_ptr<vxArray> ownedArray(vxArray* array) {
    std::shared_ptr<vxArray> owner(array, vxDestroyArray);
    vxSetArrayScope(array, 0);
    return owner;
}

/// Zeroed entries in the host's memory.
template <class T>
class HostBuffer {
public:
    explicit HostBuffer(size_t count)
        : data_(static_cast<T*>(vxCalloc(count, sizeof(T)))), count_(count) {}
    ~HostBuffer() { vxFree(data_); }
    HostBuffer(const HostBuffer&) = delete;
    HostBuffer(HostBuffer&&) = delete;
    HostBuffer& operator=(const HostBuffer&) = delete;
    HostBuffer& operator=(HostBuffer&&) = delete;

    [[nodiscard]] T* data() const noexcept { return data_; }
    [[nodiscard]] size_t size() const noexcept { return count_; }
    [[nodiscard]] T& operator[](size_t i) const noexcept { return data_[i]; }
    [[nodiscard]] T* begin() const noexcept { return data_; }
    [[nodiscard]] T* end() const noexcept { return data_ + count_; }

private:
    T* data_;
    size_t count_;
};

}  // namespace activeset

#endif
