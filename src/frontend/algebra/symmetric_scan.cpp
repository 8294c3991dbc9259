// Takes a tile on each side of the diagonal at a time, so that both stay in the nearest cache and
// the matrix is read once. Blocks of a tile are transposed in registers. Magnitudes are compared as
// integers, among which those of NaN are above infinity.
#include "frontend/algebra/symmetric_scan.hpp"

#include <cstdint>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "frontend/algebra/symmetric_scan.cpp"
#include "frontend/algebra/each_set.hpp"
#include "frontend/algebra/octet.hpp"

HWY_BEFORE_NAMESPACE();
namespace activeset::frontend::HWY_NAMESPACE {
namespace {

constexpr std::size_t TileWidth = 32;

template <std::size_t Width>
using Bits = hn::Repartition<std::int64_t, typename Lanes<Width>::Tag>;

/// A square block, a column in each register.
template <std::size_t Width>
struct Block {
    using Tag = typename Lanes<Width>::Tag;
    using V = hn::Vec<Tag>;

    V columns[Width];  // NOLINT(cppcoreguidelines-pro-type-member-init): written at once

    static HWY_INLINE V larger(V a, V b) {
        const Bits<Width> bits;
        return hn::BitCast(Tag(), hn::Max(hn::BitCast(bits, a), hn::BitCast(bits, b)));
    }

    /// Each lane of `largest` is raised to the largest magnitude of its row. Two of them do not
    /// wait for one another.
    static HWY_INLINE Block at(const double* values, std::size_t ld, V& largest) {
        Block block;
        V other = largest;
        for (std::size_t k = 0; k < Width; ++k) {
            block.columns[k] = hn::LoadU(Tag(), values + k * ld);
            V& raised = k % 2 == 0 ? largest : other;
            raised = larger(hn::Abs(block.columns[k]), raised);
        }
        largest = larger(largest, other);
        return block;
    }

    /// Swaps the bits of the place of a column, one by one, with those of a place in it.
    HWY_INLINE void transpose() {
#if HWY_TARGET != HWY_SCALAR
        if constexpr (Width > 1) {
            for (std::size_t k = 0; k < Width; k += 2) {
                const V a = columns[k];
                const V b = columns[k + 1];
                columns[k] = hn::InterleaveLower(Tag(), a, b);
                columns[k + 1] = hn::InterleaveUpper(Tag(), a, b);
            }
        }
        if constexpr (Width == OctetLanes) {
            for (std::size_t k = 0; k + 2 < Width; k += k % 2 == 0 ? 1 : 3) {
                const V a = columns[k];
                const V b = columns[k + 2];
                columns[k] = hn::OddEvenBlocks(hn::SwapAdjacentBlocks(b), a);
                columns[k + 2] = hn::OddEvenBlocks(b, hn::SwapAdjacentBlocks(a));
            }
        }
        if constexpr (Width > 2) {
            for (std::size_t k = 0; k < Width / 2; ++k) {
                const V a = columns[k];
                const V b = columns[k + Width / 2];
                columns[k] = hn::ConcatLowerLower(Tag(), b, a);
                columns[k + Width / 2] = hn::ConcatUpperUpper(Tag(), b, a);
            }
        }
#endif
    }
};

/// Rows from `row` on and columns from `col` on, as many as are multiples of a block's width.
struct Tile {
    std::size_t row;
    std::size_t col;
    std::size_t rows;
    std::size_t cols;
};

/// Whether a tile equals its mirror image; raises the largest magnitudes of both.
template <std::size_t Width>
HWY_INLINE bool isMirrored(const double* values,
                           std::size_t ld,
                           const Tile& tile,
                           double* largest) {
    using B = Block<Width>;
    const Bits<Width> bits;
    auto different = hn::Zero(bits);
    for (std::size_t j = tile.col; j < tile.col + tile.cols; j += Width) {
        auto ofColumns = hn::LoadU(typename B::Tag(), largest + j);
        for (std::size_t i = tile.row; i < tile.row + tile.rows; i += Width) {
            auto ofRows = hn::LoadU(typename B::Tag(), largest + i);
            B block = B::at(values + j * ld + i, ld, ofRows);
            hn::StoreU(ofRows, typename B::Tag(), largest + i);
            const B mirrored = B::at(values + i * ld + j, ld, ofColumns);
            block.transpose();
            for (std::size_t k = 0; k < Width; ++k) {
                different = hn::Or(different, hn::Xor(hn::BitCast(bits, block.columns[k]),
                                                      hn::BitCast(bits, mirrored.columns[k])));
            }
        }
        hn::StoreU(ofColumns, typename B::Tag(), largest + j);
    }
    return hn::AllTrue(bits, hn::Eq(different, hn::Zero(bits)));
}

bool scan(const double* values, std::size_t n, std::size_t ld, double* largest) {
    const std::size_t whole = n / Octet::PartLanes * Octet::PartLanes;
    for (std::size_t j = 0; j < n; ++j) {
        largest[j] = 0.0;
    }
    for (std::size_t col = 0; col < whole; col += TileWidth) {
        const std::size_t cols = whole - col < TileWidth ? whole - col : TileWidth;
        for (std::size_t row = 0; row <= col; row += TileWidth) {
            const std::size_t rows = row < col ? TileWidth : cols;
            if (!isMirrored<Octet::PartLanes>(values, ld, {row, col, rows, cols}, largest)) {
                return false;
            }
        }
    }
    bool isSound = true;
    for (std::size_t j = whole; j < n; ++j) {
        isSound = isMirrored<1>(values, ld, {0, j, j + 1, 1}, largest) && isSound;
    }
    for (std::size_t j = 0; j < n; ++j) {
        isSound = largest[j] - largest[j] == 0.0 && isSound;  // not NaN: it is finite
    }
    return isSound;
}

}  // namespace
}  // namespace activeset::frontend::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace activeset::frontend {

SymmetricScan* symmetricScan(InstructionSet set) {
    return ACTIVESET_CHOOSE(set, scan);
}

bool isFiniteSymmetric(const double* values, std::size_t n, std::size_t leading, double* largest) {
    // NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): a constant, of a function
    static SymmetricScan* const kernel = symmetricScan(instructionSet());
    return kernel(values, n, leading, largest);
}

}  // namespace activeset::frontend
#endif
