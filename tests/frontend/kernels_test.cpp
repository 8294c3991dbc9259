// Kernels give the same bits with every instruction set of this processor.
#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "frontend/algebra/largest.hpp"
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

}  // namespace

}  // namespace activeset::frontend
