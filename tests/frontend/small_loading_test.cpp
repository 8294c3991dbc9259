// What the method for small problems finds out about data while it loads them.
#include <array>
#include <cmath>

#include "frontend/generator.hpp"
#include "frontend/instruction_sets.hpp"
#include "frontend/predict/small_kernels.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

class SmallLoading : public FreshState {};

/// Each pair of entries differs once.
TEST_F(SmallLoading, SeeEveryPairThatIsNotSymmetric) {
    constexpr std::size_t Count = 12;
    constexpr std::size_t Leading = 16;
    for (const frontend::InstructionSet set : frontend::instructionSets()) {
        const frontend::SmallKernels kernels = frontend::smallKernels(set);
        Numbers a(Count * Leading);
        for (std::size_t j = 0; j < Count; ++j) {
            for (std::size_t i = 0; i < Leading; ++i) {
                a[j * Leading + i] = static_cast<double>(i < Count ? i + j + i * j : 7 * j + i);
            }
        }
        EXPECT_TRUE(kernels.isSymmetric(a.data(), Count, Leading));
        for (std::size_t j = 0; j < Count; ++j) {
            for (std::size_t i = 0; i < Count; ++i) {
                a[j * Leading + i] += 0.5;
                EXPECT_EQ(kernels.isSymmetric(a.data(), Count, Leading), i == j) << i << " " << j;
                a[j * Leading + i] -= 0.5;
            }
        }
    }
}

/// One side is wrong, in each place of a group of eight.
TEST_F(SmallLoading, LookAtEverySide) {
    constexpr frontend::SmallSideLimits Limits{AbsentSide, Infinity, 1e-13};
    for (const frontend::InstructionSet set : frontend::instructionSets()) {
        const frontend::SmallKernels kernels = frontend::smallKernels(set);
        for (std::size_t count = 1; count <= 17; ++count) {
            std::array<Numbers, 4> to;
            to.fill(Numbers(24));
            const frontend::SmallSides sides{to[0].data(), to[1].data(), to[2].data(),
                                             to[3].data()};
            const auto look = [&](const Numbers& lower, const Numbers& upper) {
                return kernels.copySides(lower.data(), upper.data(), count, 24, Limits, sides);
            };
            Numbers lower(count, -2.0);
            Numbers upper(count, 1e30);
            lower.back() = -1e25;
            upper.front() = 5.0;
            frontend::SmallSideExtent extent = look(lower, upper);
            EXPECT_TRUE(extent.isSound);
            EXPECT_EQ(extent.equal, 0U);
            EXPECT_EQ(extent.largest, 5.0);
            EXPECT_EQ(to[0][count - 1], -Infinity);
            EXPECT_EQ(to[1][0], 5.0);
            EXPECT_EQ(to[3][0], 5.0 + 1e-13 * 5.0);
            EXPECT_EQ(to[2][23], -Infinity);
            EXPECT_EQ(to[1][count], Infinity);
            lower.back() = upper.back() = 7.0;
            extent = look(lower, upper);
            EXPECT_EQ(extent.equal, 1U);
            EXPECT_EQ(extent.largest, 7.0);
            for (const double wrong : {8.0, 1e20, std::nan("")}) {
                lower.back() = wrong;
                EXPECT_FALSE(look(lower, upper).isSound) << count << " " << wrong;
            }
            lower.back() = -Infinity;
            upper.back() = -1e20;
            EXPECT_FALSE(look(lower, upper).isSound);
        }
    }
}

}  // namespace
}  // namespace activeset::test
