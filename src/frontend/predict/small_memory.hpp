// The memory of the small road: one block, cut into the arrays that a problem needs.
#ifndef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_MEMORY_HPP
#define ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_MEMORY_HPP

#include <cstddef>
#include <memory>

#include "frontend/predict/small_kernels.hpp"

namespace activeset::frontend {

/// n variables and m rows as they lie in memory. Constraint i is row i of A, constraint rows + j
/// the bounds of variable j. Padding rows are zeros without sides; padding variables have curvature
/// 1, no slope, and no products with others.
struct SmallShape {
    std::size_t n = 0;
    std::size_t m = 0;

    static constexpr std::size_t upTo(std::size_t count, std::size_t unit) {
        return (count + unit - 1) / unit * unit;
    }
    [[nodiscard]] std::size_t head() const { return upTo(n, 8); }
    [[nodiscard]] std::size_t rows() const { return upTo(m + 1, 8); }  ///< of A, and c
    [[nodiscard]] std::size_t cols() const { return upTo(n, 4); }
    [[nodiscard]] std::size_t height() const { return head() + rows(); }
    [[nodiscard]] std::size_t constraints() const { return rows() + head(); }
    friend bool operator==(const SmallShape&, const SmallShape&) = default;
};

// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): the factorisation writes the triangles
class SmallMemory {
public:
    static constexpr std::size_t MostVariables = MostSmallColumns;

    /// Whether a problem is small enough: so that its block stays below four and a half mebibytes,
    /// and its numbers in the caches.
    [[nodiscard]] static bool fits(const SmallShape& shape);
    /// Whether it has more than 100 variables and hardly rows. Then a guess at all bounds is
    /// faster, unless few of them come or go.
    [[nodiscard]] static bool doBoundsPrevail(const SmallShape& shape);

    /// Makes room for a problem that fits. The arrays keep their entries if the shape is as before;
    /// else they are zero.
    /// @raises std::bad_alloc, with no shape and no arrays
    void reshape(const SmallShape& shape);
    /// Gives the block back: no shape and no arrays.
    void release() noexcept;

    /// Parts of the data, for the kernels: all of it, with images and without, H, and A with c
    /// behind it.
    [[nodiscard]] SmallStack stackWithImages() {
        return {data, images, triangles, shape.head(), shape.rows(), shape.cols(), waiting};
    }
    [[nodiscard]] SmallMatrix stack() const {
        return {data, shape.height(), shape.cols(), shape.height(), shape.height()};
    }
    [[nodiscard]] SmallMatrix hessian() const {
        return {data, shape.head(), shape.cols(), shape.height(), shape.head()};
    }
    [[nodiscard]] SmallMatrix rowsOfA() const {
        return {data + shape.head(), shape.rows(), shape.cols(), shape.height(), shape.height()};
    }

    SmallShape shape;
    const SmallKernels& kernels = smallKernels();

    // head + rows × cols: [H; A; cᵀ]; 2·head + rows × cols: the images
    double* data = nullptr;
    double* images = nullptr;
    // one for each constraint
    double* lower = nullptr;
    double* upper = nullptr;
    double* lowest = nullptr;  ///< `lower` and what rounding may take from it
    double* highest = nullptr;
    double* inverseNorm = nullptr;  ///< of its image; 0 for a row of zeros
    double* values = nullptr;
    double* multipliers = nullptr;  ///< y, z
    // head entries
    double* c = nullptr;
    double* x = nullptr;
    double* w = nullptr;  ///< L⁻¹c
    double* z = nullptr;  ///< Lᵀx
    double* g = nullptr;
    double* u = nullptr;
    double* step = nullptr;
    double* residual = nullptr;
    // head × cols each: orthonormal Q and upper triangular T = R⁻¹ with Q·R the members' images,
    // and in column k the row of A that is member k
    double* Q = nullptr;
    double* T = nullptr;
    double* memberRows = nullptr;
    // one for each member
    double* target = nullptr;
    double* sign = nullptr;  ///< 1 at an upper side, −1 at a lower one
    double* lambda = nullptr;
    double* r = nullptr;
    double* p = nullptr;
    double* s = nullptr;
    double* member = nullptr;  ///< the constraint's number
    double* isEquality = nullptr;
    double* gathered = nullptr;  ///< the row of A in column k of memberRows, or −1
    SmallTriangle triangles[MostVariables / 4];
    std::size_t waiting = 0;     ///< rows of A, the first ones, whose images are not formed yet
    std::size_t equalities = 0;  ///< how many constraints have equal sides
    // sums in twice the precision: [H; A; cᵀ]·x, Aᵀy
    SmallSums products;
    SmallSums pull;

private:
    struct Free {
        void operator()(double* block) const noexcept;
    };

    [[nodiscard]] static std::size_t sizeFor(const SmallShape& shape);

    std::unique_ptr<double[], Free> block_;
    std::size_t size_ = 0;
};

}  // namespace activeset::frontend

#endif
