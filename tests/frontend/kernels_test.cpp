// Kernels give the same bits with every instruction set that this processor has.
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
                EXPECT_EQ(largestKernel(set)(values.data(), count), 2.0)
                    << nameOf(set) << ' ' << count << ' ' << at;
            }
        }
        EXPECT_EQ(largestKernel(set)(nullptr, 0), 0.0);
    }
}

}  // namespace

}  // namespace activeset::frontend
