// What is kept and what goes.
#include "host/array_shelf.hpp"

#include <algorithm>
#include <utility>

#include "thread_state.hpp"

namespace activeset {

namespace {

std::size_t bytesOf(const ArrayShelf::Array& array) {
    return array.capacity() * sizeof(double);
}

}  // namespace

ArrayShelf::Array ArrayShelf::take(std::size_t count) noexcept {
    constexpr std::size_t MuchTooLarge = 4;
    if (!isLarge(count)) {
        return {};
    }
    Array* best = nullptr;
    for (Array& array : arrays_) {
        const bool fits = array.capacity() >= count && array.capacity() / MuchTooLarge <= count;
        if (fits && (best == nullptr || array.capacity() < best->capacity())) {
            best = &array;
        }
    }
    if (best == nullptr) {
        return {};
    }
    bytes_ -= bytesOf(*best);
    return std::exchange(*best, {});
}

void ArrayShelf::give(Array array) noexcept {
    if (!isLarge(array.capacity()) || bytesOf(array) > MostBytes) {
        return;
    }
    const auto isSmaller = [](const Array& a, const Array& b) {
        return a.capacity() < b.capacity();
    };
    // The smallest place, empty ones first, makes way.
    Array& place = *std::min_element(arrays_.begin(), arrays_.end(), isSmaller);
    if (place.capacity() >= array.capacity()) {
        return;
    }
    bytes_ += bytesOf(array) - bytesOf(place);
    place = std::move(array);
    while (bytes_ > MostBytes) {
        Array* smallest = arrays_.data();
        for (Array& kept : arrays_) {
            if (kept.capacity() > 0 && (smallest->capacity() == 0 || isSmaller(kept, *smallest))) {
                smallest = &kept;
            }
        }
        bytes_ -= bytesOf(*smallest);
        *smallest = Array();  // {} would keep its memory
    }
}

void ArrayShelf::clear() noexcept {
    arrays_ = {};
    bytes_ = 0;
}

ArrayShelf& ArrayShelf::ofThread() noexcept {
    return threadState().arrays;
}

}  // namespace activeset
