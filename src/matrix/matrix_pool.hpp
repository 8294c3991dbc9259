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

    /// As if it had just been made in its first shape: zeros.
    void renew() noexcept;
    [[nodiscard]] size_t firstRows() const noexcept { return matrix_.getRows(); }
    [[nodiscard]] size_t firstCols() const noexcept { return matrix_.getCols(); }

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

    /// Everything goes: what is lent lives on with its borrowers, the rest is put by for entries to
    /// come, if it is small, or destroyed.
    void release() noexcept;
    void dropSpares() noexcept { spares_.clear(); }

    /// A free entry in the shape rows × cols, not yet borrowed, with the values that it last held.
    [[nodiscard]] PoolEntry* acquire(size_t rows, size_t cols);
    [[nodiscard]] size_t count() const noexcept { return entries_.size(); }

    /// The calling thread's pool, made on first use.
    [[nodiscard]] static MatrixPool& ofThread();

private:
    [[nodiscard]] std::unique_ptr<PoolEntry> newEntry(size_t rows, size_t cols);

    size_t cursor_ = 0;  // where the next search starts
    std::vector<std::unique_ptr<PoolEntry>> entries_;
    std::vector<std::unique_ptr<PoolEntry>> spares_;
};

/// While one lives on a thread, the pool's memory is kept over its releases: every pass of a solve
/// ends with one, and the next asks for the same shapes.
class KeepPoolMemory {
public:
    KeepPoolMemory() noexcept;
    ~KeepPoolMemory();
    KeepPoolMemory(const KeepPoolMemory&) = delete;
    KeepPoolMemory(KeepPoolMemory&&) = delete;
    KeepPoolMemory& operator=(const KeepPoolMemory&) = delete;
    KeepPoolMemory& operator=(KeepPoolMemory&&) = delete;
};

}  // namespace activeset

#endif
