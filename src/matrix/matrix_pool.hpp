// The pool of temporaries: matrices that arithmetic borrows for its results.
#ifndef ACTIVESET_SRC_MATRIX_MATRIX_POOL_HPP
#define ACTIVESET_SRC_MATRIX_MATRIX_POOL_HPP

#include <cstddef>
#include <memory>
#include <vector>

#include "activeset/matrix.hpp"

namespace activeset {

/// One matrix of the pool and the number of matrices that borrow its storage. An entry that is
/// still lent when the pool is released is orphaned, and destroyed by its last borrower.
class PoolEntry {
public:
    PoolEntry(size_t rows, size_t cols) : matrix_(rows, cols), capacity_(rows * cols) {}

    [[nodiscard]] vxArray* hostArray() const noexcept { return matrix_.getHostArray(); }
    [[nodiscard]] size_t borrowers() const noexcept { return borrowers_; }
    [[nodiscard]] bool isFreeFor(size_t elements) const noexcept {
        return borrowers_ == 0 && capacity_ >= elements;
    }
    void reshape(size_t rows, size_t cols);

    void borrow() noexcept { ++borrowers_; }
    static void giveBack(PoolEntry* entry) noexcept;
    static void abandon(std::unique_ptr<PoolEntry> entry) noexcept;

private:
    OPTMatrix<double> matrix_;  // owns the storage; its own shape stays that of its creation
    size_t capacity_;           // elements of the current shape: what later requests are offered
    size_t borrowers_ = 0;
    bool isOrphaned_ = false;
};

class MatrixPool {
public:
    MatrixPool() = default;
    ~MatrixPool();
    MatrixPool(const MatrixPool&) = delete;
    MatrixPool(MatrixPool&&) = delete;
    MatrixPool& operator=(const MatrixPool&) = delete;
    MatrixPool& operator=(MatrixPool&&) = delete;

    /// A free entry in the shape rows × cols, not yet borrowed, with the values that it last held.
    [[nodiscard]] PoolEntry* acquire(size_t rows, size_t cols);
    [[nodiscard]] size_t count() const noexcept { return entries_.size(); }

    /// The calling thread's pool, made on first use.
    [[nodiscard]] static MatrixPool& ofThread();

private:
    size_t cursor_ = 0;  // where the next search starts
    std::vector<std::unique_ptr<PoolEntry>> entries_;
};

}  // namespace activeset

#endif
