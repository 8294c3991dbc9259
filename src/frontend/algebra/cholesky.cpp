// Cholesky by blocks of 64 columns. A block is packed: eight rows after eight, each with its
// columns one behind the other. It is factorised there, eight columns at a time, and takes its
// share off the columns behind it. Each entry is formed by the same operations in the same order,
// however many are formed at a time.
#include "frontend/algebra/cholesky.hpp"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "frontend/algebra/cholesky.cpp"
#include "frontend/algebra/each_set.hpp"
#include "frontend/algebra/octet.hpp"
#include "frontend/algebra/octet_triangle.hpp"

HWY_BEFORE_NAMESPACE();
namespace activeset::frontend::HWY_NAMESPACE {
namespace {

constexpr std::size_t BlockColumns = 64;
// Numbers of eight packed rows. One column more than there are spreads them over the cache.
constexpr std::size_t PackedOctet = (BlockColumns + 1) * OctetLanes;

// Octets of rows, and columns, whose sums fit into the registers at a time.
#if HWY_TARGET == HWY_AVX3
constexpr std::size_t TileOctets = 3;
constexpr std::size_t TileColumns = OctetLanes;
#else
constexpr std::size_t TileOctets = 1;
constexpr std::size_t TileColumns = Octet::Parts > 2 ? 2 : 4;
#endif

/// Octets of rows of eight columns, `ld` apart: octet o of column c at data[c·ld + o·distance].
struct Target {
    double* data;
    std::size_t ld;
    std::size_t distance;
};

/// Some columns of some octets of rows, in registers.
template <std::size_t Octets>
struct Tile {
    Octet entries[TileColumns][Octets];

    static HWY_INLINE double* at(const Target& target, std::size_t c, std::size_t o) {
        return target.data + c * target.ld + o * target.distance;
    }

    HWY_INLINE void loadFrom(const Target& target) {
        for (std::size_t c = 0; c < TileColumns; ++c) {
            for (std::size_t o = 0; o < Octets; ++o) {
                entries[c][o] = load(at(target, c, o));
            }
        }
    }

    HWY_INLINE void storeTo(const Target& target) const {
        for (std::size_t c = 0; c < TileColumns; ++c) {
            for (std::size_t o = 0; o < Octets; ++o) {
                store(entries[c][o], at(target, c, o));
            }
        }
    }

    /// Column c loses `column` times factor c.
    HWY_INLINE void take(const double* column, const double* factors) {
        Octet octets[Octets];
        for (std::size_t o = 0; o < Octets; ++o) {
            octets[o] = load(column + o * PackedOctet);
        }
        for (std::size_t c = 0; c < TileColumns; ++c) {
            const auto factor = hn::Set(Octet::Tag(), factors[c]);
            for (std::size_t o = 0; o < Octets; ++o) {
                takeFrom(entries[c][o], octets[o], factor);
            }
        }
    }
};

/// Entry (i, c) of eight columns loses Σ rows(i, k)·cols(c, k) over k < count; both are packed.
template <std::size_t Octets>
HWY_INLINE void takeProducts(Target target,
                             const double* rows,
                             const double* cols,
                             std::size_t count) {
    for (std::size_t first = 0; first < OctetLanes; first += TileColumns) {
        Tile<Octets> tile;  // NOLINT(cppcoreguidelines-pro-type-member-init): filled next
        tile.loadFrom(target);
        for (std::size_t k = 0; k < count; ++k) {
            tile.take(rows + k * OctetLanes, cols + k * OctetLanes + first);
        }
        tile.storeTo(target);
        target.data += TileColumns * target.ld;
    }
}

/// The same for any number of octets.
HWY_INLINE void takeFromOctets(
    Target target, const double* rows, const double* cols, std::size_t count, std::size_t octets) {
    for (; octets >= TileOctets; octets -= TileOctets) {
        takeProducts<TileOctets>(target, rows, cols, count);
        target.data += TileOctets * target.distance;
        rows += TileOctets * PackedOctet;
    }
    if (TileOctets > 2 && octets > 1) {
        takeProducts<2>(target, rows, cols, count);
        target.data += 2 * target.distance;
        rows += 2 * PackedOctet;
        octets -= 2;
    }
    if (octets > 0) {
        takeProducts<1>(target, rows, cols, count);
    }
}

/// A block of columns of the matrix, packed, from its rows on the diagonal on.
struct PackedBlock {
    double* packed;
    std::size_t rows;
    std::size_t cols;

    HWY_INLINE std::size_t octets() const { return (rows + OctetLanes - 1) / OctetLanes; }

    /// Behind the last column stands the identity, behind the last row zeros.
    HWY_INLINE void copyFrom(const double* a, std::size_t ld) const {
        const std::size_t padded = (cols + OctetLanes - 1) / OctetLanes * OctetLanes;
        for (std::size_t o = 0; o < octets(); ++o) {
            const std::size_t row = o * OctetLanes;
            const std::size_t left = rows - row;
            double* const to = packed + o * PackedOctet;
            for (std::size_t c = 0; c < cols; ++c) {
                const double* const from = a + c * ld + row;
                store(left >= OctetLanes ? load(from) : loadFirst(from, left), to + c * OctetLanes);
            }
            for (std::size_t c = cols; c < padded; ++c) {
                store(octetOf(0.0), to + c * OctetLanes);
                if (c - row < OctetLanes) {
                    to[c * OctetLanes + c - row] = 1.0;
                }
            }
        }
    }

    HWY_INLINE void copyTo(double* a, std::size_t ld) const {
        for (std::size_t o = 0; o < octets(); ++o) {
            const std::size_t row = o * OctetLanes;
            const std::size_t left = rows - row;
            const double* const from = packed + o * PackedOctet;
            for (std::size_t c = 0; c < cols && c < row + OctetLanes; ++c) {
                if (left >= OctetLanes) {
                    store(load(from + c * OctetLanes), a + c * ld + row);
                } else {
                    storeFirst(load(from + c * OctetLanes), a + c * ld + row, left);
                }
            }
        }
    }

    HWY_INLINE bool factorise() const {
        for (std::size_t first = 0; first < cols; first += OctetLanes) {
            double* const diagonal = packed + first / OctetLanes * PackedOctet + first * OctetLanes;
            const std::size_t below = octets() - first / OctetLanes;
            const double* const before = diagonal - first * OctetLanes;
            takeFromOctets({diagonal, OctetLanes, PackedOctet}, before, before, first, below);
            constexpr double Least[OctetLanes] = {};
            Octet columns[OctetLanes];
            loadColumns(diagonal, columns);
            Triangle<OctetLanes> triangle;  // NOLINT(cppcoreguidelines-pro-type-member-init)
            if (!factoriseTriangle(columns, 0, Least, triangle)) {
                return false;
            }
            for (std::size_t o = 0; o < below; ++o) {
                loadColumns(diagonal + o * PackedOctet, columns);
                finishRows(columns, triangle);
                storeColumns(columns, diagonal + o * PackedOctet);
            }
        }
        return true;
    }

    static HWY_INLINE void loadColumns(const double* octet, Octet (&columns)[OctetLanes]) {
        for (std::size_t c = 0; c < OctetLanes; ++c) {
            columns[c] = load(octet + c * OctetLanes);
        }
    }

    static HWY_INLINE void storeColumns(const Octet (&columns)[OctetLanes], double* octet) {
        for (std::size_t c = 0; c < OctetLanes; ++c) {
            store(columns[c], octet + c * OctetLanes);
        }
    }

    /// Takes the block's share off the columns behind it; a is the entry on their diagonal.
    HWY_INLINE void takeOff(double* a, std::size_t ld) const {
        const std::size_t first = cols / OctetLanes;
        const std::size_t whole = rows / OctetLanes;
        for (std::size_t o = first; o < octets(); ++o) {
            const std::size_t at = (o - first) * OctetLanes;
            const double* const factors = packed + o * PackedOctet;
            if (o < whole) {
                takeFromOctets({a + at * ld + at, ld, OctetLanes}, factors, factors, cols,
                               whole - o);
            }
            if (whole < octets()) {
                takeOffEdge(a, ld, at, (whole - first) * OctetLanes, factors);
            }
        }
    }

    /// The last rows, fewer than eight, of eight columns or of as many as there are.
    HWY_INLINE void takeOffEdge(
        double* a, std::size_t ld, std::size_t col, std::size_t row, const double* factors) const {
        double edge[OctetLanes * OctetLanes];
        const std::size_t height = rows - cols - row;
        const std::size_t width = col == row ? height : OctetLanes;
        double* const corner = a + col * ld + row;
        for (std::size_t c = 0; c < OctetLanes; ++c) {
            store(c < width ? loadFirst(corner + c * ld, height) : octetOf(0.0),
                  edge + c * OctetLanes);
        }
        takeProducts<1>({edge, OctetLanes, 0}, packed + (octets() - 1) * PackedOctet, factors,
                        cols);
        for (std::size_t c = 0; c < width; ++c) {
            storeFirst(load(edge + c * OctetLanes), corner + c * ld, height);
        }
    }
};

bool factorise(const CholeskyInPlace& matrix) {
    for (std::size_t first = 0; first < matrix.n; first += BlockColumns) {
        double* const corner = matrix.a + first * matrix.ld + first;
        const std::size_t left = matrix.n - first;
        const PackedBlock block{matrix.work, left, left < BlockColumns ? left : BlockColumns};
        block.copyFrom(corner, matrix.ld);
        if (!block.factorise()) {
            return false;
        }
        block.copyTo(corner, matrix.ld);
        if (left > BlockColumns) {
            block.takeOff(corner + BlockColumns * (matrix.ld + 1), matrix.ld);
        }
    }
    return true;
}

}  // namespace
}  // namespace activeset::frontend::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

#include "host/lapack.hpp"

namespace activeset::frontend {

std::size_t choleskyWork(std::size_t n) {
    constexpr std::size_t Rows = 8;
    constexpr std::size_t Columns = 65;
    return (n + Rows - 1) / Rows * Rows * Columns;
}

CholeskyKernel* choleskyKernel(InstructionSet set) {
    return ACTIVESET_CHOOSE(set, factorise);
}

bool choleskyInPlace(const CholeskyInPlace& matrix) {
    if (instructionSet() == InstructionSet::Baseline) {  // without FMA the kernel is slower
        return lapack::potrfLower({matrix.a, matrix.n, matrix.n, matrix.ld}) == 0;
    }
    // NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): a constant, of a function
    static CholeskyKernel* const kernel = choleskyKernel(instructionSet());
    return kernel(matrix);
}

}  // namespace activeset::frontend
#endif
