// Copies what is lent as soon as it is to change or to last.
#include "frontend/problem/matrix_entries.hpp"

#include "frontend/algebra/dense.hpp"
#include "frontend/algebra/largest.hpp"

namespace activeset::frontend {

MatrixEntries MatrixEntries::lent(const double* values, std::size_t count) {
    MatrixEntries entries;
    entries.lent_ = values;
    entries.count_ = count;
    return entries;
}

MatrixEntries::MatrixEntries(const MatrixEntries& other)
    : own_(other.copy()), largest_(other.largest_) {}

MatrixEntries& MatrixEntries::operator=(const MatrixEntries& other) {
    if (this != &other) {
        own_.makeRoom(other.size());
        own_.assign(other.begin(), other.end());
        lent_ = nullptr;
        largest_ = other.largest_;
    }
    return *this;
}

LargeVector& MatrixEntries::change() {
    if (lent_ != nullptr) {
        own_ = copy();
        lent_ = nullptr;
    }
    largest_.clear();
    return own_;
}

LargeVector MatrixEntries::copy() const {
    LargeVector result;
    result.makeRoom(size());
    result.assign(begin(), end());
    return result;
}

double MatrixEntries::largest() const {
    return largest_.empty() ? largestMagnitude(data(), size()) : largestMagnitude(largest_);
}

}  // namespace activeset::frontend
