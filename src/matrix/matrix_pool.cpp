// The pool of temporaries.
#include "matrix/matrix_pool.hpp"

#include "thread_state.hpp"

namespace activeset {

void PoolEntry::reshape(size_t rows, size_t cols) {
    // No columns in between, so that no intermediate shape outgrows the buffer.
    vxSetN(hostArray(), 0);
    vxSetM(hostArray(), rows);
    vxSetN(hostArray(), cols);
    // A smaller shape makes the entry smaller for good, although the buffer stays as it is.
    capacity_ = rows * cols;
}

void PoolEntry::giveBack(PoolEntry* entry) noexcept {
    --entry->borrowers_;
    if (entry->borrowers_ == 0 && entry->isOrphaned_) {
        const std::unique_ptr<PoolEntry> last(entry);
    }
}

void PoolEntry::abandon(std::unique_ptr<PoolEntry> entry) noexcept {
    if (entry->borrowers_ != 0) {
        entry->isOrphaned_ = true;
        static_cast<void>(entry.release());
    }
}

MatrixPool::~MatrixPool() {
    for (std::unique_ptr<PoolEntry>& entry : entries_) {
        PoolEntry::abandon(std::move(entry));
    }
}

PoolEntry* MatrixPool::acquire(size_t rows, size_t cols) {
    const size_t count = entries_.size();
    for (size_t looked = 0; looked < count; ++looked) {
        PoolEntry& entry = *entries_[cursor_];
        cursor_ = (cursor_ + 1) % count;
        if (entry.isFreeFor(rows * cols)) {
            entry.reshape(rows, cols);
            return &entry;
        }
    }
    entries_.push_back(std::make_unique<PoolEntry>(rows, cols));
    return entries_.back().get();
}

MatrixPool& MatrixPool::ofThread() {
    auto& pool = threadState().matrixPool;
    if (pool == nullptr) {
        // The deleter is the state's own; see MatrixPoolDeleter.
        pool.reset(std::make_unique<MatrixPool>().release());
    }
    return *pool;
}

void MatrixPoolDeleter::operator()(MatrixPool* pool) const noexcept {
    const std::unique_ptr<MatrixPool> owner(pool);
}

void releaseMatrixPool() noexcept {
    threadState().matrixPool.reset();
}

size_t matrixPoolSize() noexcept {
    const auto& pool = threadState().matrixPool;
    return pool == nullptr ? 0 : pool->count();
}

}  // namespace activeset
