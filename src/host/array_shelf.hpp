// Large arrays that nobody uses just now. Memory fresh from the system costs a fault a page, a
// quarter of the time of a solve with 500 variables; what a solve gives back the next one of the
// thread takes.
#ifndef ACTIVESET_SRC_HOST_ARRAY_SHELF_HPP
#define ACTIVESET_SRC_HOST_ARRAY_SHELF_HPP

#include <array>
#include <cstddef>
#include <vector>

namespace activeset {

/// Belongs to one thread. Arrays of fewer than 64 KiB are left to the allocator, which keeps them
/// itself; of more than 256 MiB in all, the smallest go.
class ArrayShelf {
public:
    using Array = std::vector<double>;
    static constexpr std::size_t LeastBytes = std::size_t{1} << 16U;
    static constexpr std::size_t MostBytes = std::size_t{1} << 28U;

    [[nodiscard]] static constexpr bool isLarge(std::size_t count) {
        return count >= LeastBytes / sizeof(double);
    }
    /// An array with room for so many numbers, if there is one that is not much too large, with
    /// what has been left in it; else one without room.
    [[nodiscard]] Array take(std::size_t count) noexcept;
    /// Keeps an array, whatever is in it.
    void give(Array array) noexcept;
    void clear() noexcept;
    [[nodiscard]] std::size_t bytes() const { return bytes_; }

    /// That of the calling thread.
    [[nodiscard]] static ArrayShelf& ofThread() noexcept;

private:
    static constexpr std::size_t Places = 24;

    std::array<Array, Places> arrays_;
    std::size_t bytes_ = 0;
};

}  // namespace activeset

#endif
