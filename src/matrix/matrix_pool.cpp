// The pool of temporaries.
#include "matrix/matrix_pool.hpp"

#include <algorithm>

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

void PoolEntry::renew() noexcept {
    reshape(matrix_.getRows(), matrix_.getCols());
    matrix_.fill(0.0);
}

MatrixPool::~MatrixPool() {
    for (std::unique_ptr<PoolEntry>& entry : entries_) {
        PoolEntry::abandon(std::move(entry));
    }
}

// Large entries are not worth keeping: making one costs little beside what is done with it.
void MatrixPool::release() noexcept {
    constexpr size_t LargestSpare = 4096;
    for (std::unique_ptr<PoolEntry>& entry : entries_) {
        const bool isSmall = entry->firstRows() * entry->firstCols() <= LargestSpare;
        if (isSmall && entry->borrowers() == 0 && spares_.size() < spares_.capacity()) {
            spares_.push_back(std::move(entry));
        } else {
            PoolEntry::abandon(std::move(entry));
        }
    }
    entries_.clear();
    cursor_ = 0;
}

// A spare is as good as a new one of its first shape.
std::unique_ptr<PoolEntry> MatrixPool::newEntry(size_t rows, size_t cols) {
    const auto spare = std::find_if(spares_.begin(), spares_.end(), [&](const auto& entry) {
        return entry->firstRows() == rows && entry->firstCols() == cols;
    });
    if (spare == spares_.end()) {
        spares_.reserve(spares_.size() + entries_.size() + 1);  // so that a release can not fail
        return std::make_unique<PoolEntry>(rows, cols);
    }
    std::unique_ptr<PoolEntry> entry = std::move(*spare);
    spares_.erase(spare);
    entry->renew();
    return entry;
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
    entries_.push_back(newEntry(rows, cols));
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
    ThreadState& state = threadState();
    if (state.poolKeepers == 0) {
        state.matrixPool.reset();
    } else if (state.matrixPool != nullptr) {
        state.matrixPool->release();
    }
}

PoolRelease::~PoolRelease() {
    releaseMatrixPool();
}

KeepPoolMemory::KeepPoolMemory() noexcept {
    ++threadState().poolKeepers;
}

KeepPoolMemory::~KeepPoolMemory() {
    ThreadState& state = threadState();
    if (--state.poolKeepers == 0 && state.matrixPool != nullptr) {
        state.matrixPool->dropSpares();
    }
}

size_t matrixPoolSize() noexcept {
    const auto& pool = threadState().matrixPool;
    return pool == nullptr ? 0 : pool->count();
}

}  // namespace activeset
