// One block for a problem, at a cache line.
#include "frontend/predict/small_memory.hpp"

#include <algorithm>
#include <new>

namespace activeset::frontend {

namespace {

constexpr std::size_t MostNumbers = std::size_t{1} << 19U;  // four mebibytes; rows of members apart
constexpr std::align_val_t CacheLine{64};

/// Hands out pieces of a block; without one it counts.
class Cutter {
public:
    explicit Cutter(double* block) : block_(block) {}

    double* take(std::size_t count) {
        double* const piece = block_ == nullptr ? nullptr : block_ + taken_;
        taken_ += SmallShape::upTo(count, 8);
        return piece;
    }
    [[nodiscard]] std::size_t taken() const { return taken_; }

private:
    double* block_;
    std::size_t taken_ = 0;
};

std::size_t cutInto(SmallMemory& memory, const SmallShape& shape, double* block) {
    Cutter cutter(block);
    const std::size_t head = shape.head();
    memory.data = cutter.take(shape.height() * shape.cols());
    memory.images = cutter.take((shape.height() + head) * shape.cols());
    for (double** array : {&memory.lower, &memory.upper, &memory.lowest, &memory.highest,
                           &memory.inverseNorm, &memory.values, &memory.multipliers}) {
        *array = cutter.take(shape.constraints());
    }
    for (double** array :
         {&memory.c, &memory.x, &memory.w, &memory.z, &memory.g, &memory.u, &memory.step,
          &memory.residual, &memory.target, &memory.sign, &memory.lambda, &memory.r, &memory.p,
          &memory.s, &memory.member, &memory.isEquality, &memory.gathered}) {
        *array = cutter.take(head);
    }
    memory.Q = cutter.take(head * shape.cols());
    memory.T = cutter.take(head * shape.cols());
    memory.memberRows = cutter.take(head * shape.cols());
    for (double** array : {&memory.products.value, &memory.products.rest, &memory.products.scale}) {
        *array = cutter.take(shape.height());
    }
    for (double** array : {&memory.pull.value, &memory.pull.rest, &memory.pull.scale}) {
        *array = cutter.take(head);
    }
    return cutter.taken();
}

}  // namespace

void SmallMemory::Free::operator()(double* block) const noexcept {
    ::operator delete(block, CacheLine);
}

std::size_t SmallMemory::sizeFor(const SmallShape& shape) {
    SmallMemory nothing;
    return cutInto(nothing, shape, nullptr);
}

bool SmallMemory::fits(const SmallShape& shape) {
    return shape.n > 0 && shape.n <= MostVariables && shape.m <= MostNumbers &&
           sizeFor(shape) - shape.head() * shape.cols() <= MostNumbers;
}

bool SmallMemory::doBoundsPrevail(const SmallShape& shape) {
    constexpr std::size_t MostWithFewRows = 100;  // variables
    constexpr std::size_t VariablesPerRow = 8;
    return shape.n > MostWithFewRows && shape.n >= VariablesPerRow * shape.m;
}

void SmallMemory::release() noexcept {
    block_.reset();
    size_ = 0;
    shape = {};
}

void SmallMemory::reshape(const SmallShape& wanted) {
    if (shape == wanted) {
        return;
    }
    const std::size_t needed = sizeFor(wanted);
    if (needed > size_) {
        release();
        block_.reset(static_cast<double*>(::operator new(needed * sizeof(double), CacheLine)));
        size_ = needed;
    }
    std::fill_n(block_.get(), needed, 0.0);
    shape = wanted;
    static_cast<void>(cutInto(*this, wanted, block_.get()));
}

}  // namespace activeset::frontend
