// The entries of a matrix of a problem, and how large they are.
#ifndef ACTIVESET_SRC_FRONTEND_PROBLEM_MATRIX_ENTRIES_HPP
#define ACTIVESET_SRC_FRONTEND_PROBLEM_MATRIX_ENTRIES_HPP

#include <cstddef>
#include <utility>

#include "frontend/algebra/large_vector.hpp"

namespace activeset::frontend {

/// Column-major, without gaps. They are in an array of its own, or lent: then they stay where their
/// owner has them, who outlives this object. A copy has an array of its own.
class MatrixEntries {
public:
    MatrixEntries() = default;
    // NOLINTNEXTLINE(google-explicit-constructor,hicpp-explicit-conversions): takes an array over
    MatrixEntries(LargeVector values) : own_(std::move(values)) {}
    /// The entries of somebody else.
    [[nodiscard]] static MatrixEntries lent(const double* values, std::size_t count);
    MatrixEntries(const MatrixEntries& other);
    MatrixEntries(MatrixEntries&& other) noexcept = default;
    MatrixEntries& operator=(const MatrixEntries& other);
    MatrixEntries& operator=(MatrixEntries&& other) noexcept = default;
    ~MatrixEntries() = default;

    [[nodiscard]] const double* data() const { return lent_ != nullptr ? lent_ : own_.data(); }
    [[nodiscard]] std::size_t size() const { return lent_ != nullptr ? count_ : own_.size(); }
    [[nodiscard]] bool empty() const { return size() == 0; }
    [[nodiscard]] const double* begin() const { return data(); }
    [[nodiscard]] const double* end() const { return data() + size(); }
    [[nodiscard]] double operator[](std::size_t k) const { return data()[k]; }

    /// The array, to be changed; what was lent is copied. Forgets how large the entries are.
    [[nodiscard]] LargeVector& change();
    void clear() { change().clear(); }
    /// An array with the same entries.
    [[nodiscard]] LargeVector copy() const;

    /// The largest magnitude; 0 if there are no entries.
    [[nodiscard]] double largest() const;
    /// The largest magnitude in each column; empty unless told.
    [[nodiscard]] const Vector& largestOfColumns() const { return largest_; }
    /// Tells it, so that nobody has to look for it again.
    void tellLargest(Vector ofColumns) { largest_ = std::move(ofColumns); }

private:
    LargeVector own_;
    const double* lent_ = nullptr;
    std::size_t count_ = 0;  ///< of the entries that are lent
    Vector largest_;
};

}  // namespace activeset::frontend

#endif
