// A vector for the entries of a matrix. Its memory comes from the shelf of the thread and goes back
// there, so that solves that follow one another find theirs in place.
#ifndef ACTIVESET_SRC_FRONTEND_ALGEBRA_LARGE_VECTOR_HPP
#define ACTIVESET_SRC_FRONTEND_ALGEBRA_LARGE_VECTOR_HPP

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <utility>

#include "frontend/algebra/vector.hpp"
#include "host/array_shelf.hpp"

namespace activeset::frontend {

class LargeVector : public Vector {
public:
    LargeVector() = default;
    LargeVector(std::size_t count, double value) {
        makeRoom(count);
        assign(count, value);
    }
    // NOLINTNEXTLINE(google-explicit-constructor,hicpp-explicit-conversions): a copy
    LargeVector(const Vector& values) {
        makeRoom(values.size());
        assign(values.begin(), values.end());
    }
    LargeVector(const LargeVector& other) : LargeVector(static_cast<const Vector&>(other)) {}
    LargeVector(LargeVector&& other) noexcept = default;
    LargeVector& operator=(const LargeVector& other) {
        if (this != &other) {
            makeRoom(other.size());
            assign(other.begin(), other.end());
        }
        return *this;
    }
    LargeVector& operator=(LargeVector&& other) noexcept {
        swap(other);  // its destructor gives back what was here
        return *this;
    }
    LargeVector& operator=(std::initializer_list<double> values) {
        assign(values);
        return *this;
    }
    ~LargeVector() { giveBack(); }

    /// `count` numbers that nobody may read before they are written: memory that is used again is
    /// not cleared.
    [[nodiscard]] static LargeVector unwritten(std::size_t count) {
        LargeVector result;
        if (ArrayShelf::isLarge(count)) {
            static_cast<Vector&>(result) = ArrayShelf::ofThread().take(count);
        }
        result.resize(count);
        return result;
    }

    /// Makes room for `count` numbers; the entries are lost where there was too little.
    void makeRoom(std::size_t count) {
        if (capacity() >= count) {
            return;
        }
        giveBack();
        if (ArrayShelf::isLarge(count)) {
            Vector::operator=(ArrayShelf::ofThread().take(count));
            clear();
        }
        reserve(count);
    }
    /// Changes the size to `count`: entries stay, new ones are zero. Where it needs more room, the
    /// room at least doubles.
    void grow(std::size_t count) {
        if (capacity() < count) {
            LargeVector grown;
            grown.makeRoom(std::max(count, 2 * capacity()));
            grown.assign(begin(), end());
            swap(grown);
        }
        resize(count, 0.0);
    }

private:
    void giveBack() noexcept {
        Vector array = std::move(*this);
        if (ArrayShelf::isLarge(array.capacity())) {
            ArrayShelf::ofThread().give(std::move(array));
        }
    }
};

}  // namespace activeset::frontend

#endif
