// Kernels give the same bits with every instruction set of this processor.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "frontend/algebra/largest.hpp"
#include "frontend/algebra/symmetric_scan.hpp"
#include "frontend/instruction_sets.hpp"

namespace activeset::frontend {

namespace {

TEST(Kernels, FindTheLargestMagnitudeWhereverItStands) {
    for (const InstructionSet set : instructionSets()) {
        for (std::size_t count = 1; count <= 40; ++count) {
            for (std::size_t at = 0; at < count; ++at) {
                std::vector<double> values(count, 0.5);
                values[(at + 1) % count] = std::numeric_limits<double>::quiet_NaN();
                values[at] = -2.0;
                EXPECT_EQ(largestKernels(set).magnitude(values.data(), count), 2.0)
                    << nameOf(set) << ' ' << count << ' ' << at;
            }
        }
        EXPECT_EQ(largestKernels(set).magnitude(nullptr, 0), 0.0);
    }
}

TEST(Kernels, FindTheLargestProductAndRaiseToProductsWhateverTheLength) {
    for (const InstructionSet set : instructionSets()) {
        const LargestKernels kernels = largestKernels(set);
        for (std::size_t count = 1; count <= 40; ++count) {
            for (std::size_t at = 0; at < count; ++at) {
                std::vector<double> values(count, 1.0);
                std::vector<double> factors(count, 2.0);
                values[at] = -3.0;
                factors[at] = 4.0;
                EXPECT_EQ(kernels.product(values.data(), factors.data(), count), 12.0);
                std::vector<double> largest(count + 1, 5.0);
                kernels.raise(values.data(), 2.0, largest.data(), count);
                std::vector<double> expected(count + 1, 5.0);
                expected[at] = 6.0;
                EXPECT_EQ(largest, expected) << nameOf(set) << ' ' << count << ' ' << at;
            }
        }
    }
}

/// A symmetric matrix with gaps behind its columns, whose entries nobody may read.
struct Square {
    explicit Square(std::size_t order)
        : n(order), leading(order + 3), values(n * leading, std::nan("")), largest(n, 0.0) {
        for (std::size_t j = 0; j < n; ++j) {
            for (std::size_t i = 0; i < n; ++i) {
                at(i, j) = std::sin(static_cast<double>(i + j + i * j));
                largest[j] = std::max(largest[j], std::abs(at(i, j)));
            }
        }
    }
    double& at(std::size_t i, std::size_t j) { return values[j * leading + i]; }

    std::size_t n;
    std::size_t leading;
    std::vector<double> values;
    std::vector<double> largest;  ///< in each column
};

TEST(Kernels, ScanSymmetricMatricesForTheLargestEntryOfEachColumn) {
    for (const InstructionSet set : instructionSets()) {
        for (const std::size_t n : {0U, 1U, 2U, 3U, 7U, 8U, 9U, 31U, 33U, 70U}) {
            Square square(n);
            std::vector<double> largest(n, -1.0);
            EXPECT_TRUE(
                symmetricScan(set)(square.values.data(), n, square.leading, largest.data()));
            EXPECT_EQ(largest, square.largest) << nameOf(set) << ' ' << n;
        }
    }
}

void expectFaultsSeen(SymmetricScan* scan, Square& square, std::size_t i, std::size_t j) {
    constexpr double Infinity = std::numeric_limits<double>::infinity();
    std::vector<double> largest(square.n);
    const auto isSound = [&] {
        return scan(square.values.data(), square.n, square.leading, largest.data());
    };
    const double before = square.at(i, j);
    for (const double wrong : {std::nan(""), -std::nan(""), -Infinity}) {
        square.at(i, j) = square.at(j, i) = wrong;
        EXPECT_FALSE(isSound()) << i << ' ' << j << ' ' << wrong;
    }
    square.at(j, i) = before;
    square.at(i, j) = std::nextafter(before, Infinity);
    EXPECT_EQ(isSound(), i == j) << i << ' ' << j;
    square.at(i, j) = before;
}

TEST(Kernels, SeeEachEntryThatDiffersFromItsMirrorImageOrIsNotFinite) {
    for (const InstructionSet set : instructionSets()) {
        SCOPED_TRACE(nameOf(set));
        Square square(43);
        for (std::size_t k = 0; k < square.n * square.n; ++k) {
            expectFaultsSeen(symmetricScan(set), square, k % square.n, k / square.n);
        }
    }
}

}  // namespace

}  // namespace activeset::frontend
