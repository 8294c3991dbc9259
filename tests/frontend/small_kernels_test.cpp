// The loops of the method for small problems. Every instruction set with FMA gives the same bits.
#include "frontend/predict/small_kernels.hpp"

#include <array>
#include <cmath>
#include <random>

#include "frontend/generator.hpp"
#include "frontend/predict/small_memory.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

class SmallKernels : public FreshState {};

/// Everything that a solve computes with a set of kernels. n and m are no multiples of eight.
Numbers computedWith(const frontend::SmallKernels& kernels) {
    frontend::SmallMemory memory;
    memory.reshape({13, 21});
    const frontend::SmallShape& shape = memory.shape;
    std::mt19937_64 bits(5);
    std::normal_distribution<double> normal;
    std::generate_n(memory.data, shape.height() * shape.cols(), [&] { return normal(bits); });
    for (std::size_t j = 0; j < shape.cols(); ++j) {
        memory.data[j * shape.height() + j] = 30.0;
    }
    for (double* array : {memory.x, memory.g, memory.z}) {
        std::generate_n(array, shape.cols(), [&] { return normal(bits); });
    }
    std::fill_n(memory.lower, shape.constraints(), -1.0);
    std::fill_n(memory.inverseNorm, shape.constraints(), 1.0);
    EXPECT_TRUE(kernels.factorise(
        {memory.data, memory.images, shape.head(), shape.rows(), shape.cols()}, 1e-12));
    const std::size_t leading = shape.height() + shape.head();
    const frontend::SmallMatrix images{memory.images + shape.head(), shape.constraints(),
                                       shape.cols(), leading, shape.rows()};
    const frontend::SmallViolation worst = kernels.price(
        images, memory.z, memory.lower, memory.upper, memory.inverseNorm, memory.values);
    kernels.inverseNorms(images, 0.0, memory.multipliers);
    kernels.multiplyTransposed(images, memory.values, memory.r);
    kernels.multiplyAdd(images, memory.x, memory.lower, memory.highest);
    const frontend::SmallMatrix data{memory.data, shape.height(), shape.cols(), shape.height(),
                                     shape.height()};
    kernels.exactProduct(data, memory.x, memory.products);
    const Numbers members{3.0, 20.0, 0.0, 22.0, 13.0};
    const frontend::SmallMatrix rows{memory.data + shape.head(), shape.rows(), shape.cols(),
                                     shape.height(), shape.rows()};
    kernels.exactRows(rows, members.data(), memory.values, members.size(), shape.head(),
                      memory.pull);
    kernels.addRows(rows, members.data(), memory.x, members.size(), shape.head(), memory.w);
    kernels.gather(0.7, images, 7, 0, shape.head(), memory.p);
    const frontend::SmallSum sum = kernels.exactDot(memory.x, memory.g, shape.head());
    kernels.addScaled(0.3, memory.g, memory.z, shape.head());
    kernels.rotate(0.6, 0.8, memory.g, memory.z, shape.head());
    Numbers all{worst.amount, static_cast<double>(worst.index),
                sum.value,    sum.rest,
                sum.scale,    kernels.dot(memory.x, memory.z, shape.head())};
    const auto add = [&](const double* first, std::size_t count) {
        all.insert(all.end(), first, first + count);
    };
    for (const double* array : {memory.values, memory.multipliers, memory.highest}) {
        add(array, shape.constraints());
    }
    for (const double* array : {memory.r, memory.g, memory.z}) {
        add(array, shape.cols());
    }
    const frontend::SmallGradient gradient{memory.products, memory.pull,  memory.g,     memory.z,
                                           memory.x,        memory.lower, memory.values};
    kernels.negativeGradient(gradient, shape.head(), memory.residual);
    const frontend::SmallGradientProof proof = kernels.weighGradient(
        gradient, {0.3, 0.6, 1e-3, 2.0, 1.0, 0.5, 3.0, Infinity}, shape.head());
    const frontend::SmallSum sides = kernels.exactSides(memory.x, memory.g, memory.z, shape.head());
    const bool isMissed = kernels.misses(memory.products.value, memory.products.rest, memory.g,
                                         memory.z, shape.head(), memory.u);
    const frontend::SmallStep step =
        kernels.moved(memory.x, memory.step, memory.residual, shape.head());
    for (const double value :
         {proof.absolute, proof.relative, proof.weight, proof.rest, proof.isSound ? 1.0 : 0.0,
          sides.value, sides.rest, sides.scale, isMissed ? 1.0 : 0.0, step.length, step.size}) {
        all.push_back(value);
    }
    for (const double* array : {memory.residual, memory.u, memory.step, memory.w, memory.p}) {
        add(array, shape.head());
    }
    for (const double* sums :
         {memory.products.value, memory.products.rest, memory.products.scale}) {
        add(sums, shape.height());
    }
    return all;
}

/// One side is wrong, in each place of a group of eight.
TEST_F(SmallKernels, LookAtEverySide) {
    using frontend::InstructionSet;
    constexpr frontend::SmallSideLimits Limits{AbsentSide, Infinity, 1e-13};
    for (const InstructionSet set :
         {InstructionSet::Baseline, InstructionSet::Avx2, InstructionSet::Avx512}) {
        if (set > frontend::instructionSet()) {
            continue;
        }
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

TEST_F(SmallKernels, HaveTheSameBitsWithEverySetThatHasFma) {
    using frontend::InstructionSet;
    if (frontend::instructionSet() < InstructionSet::Avx512) {
        GTEST_SKIP() << "there are no two such sets";
    }
    const Numbers narrow = computedWith(frontend::smallKernels(InstructionSet::Avx2));
    EXPECT_EQ(narrow, computedWith(frontend::smallKernels(InstructionSet::Avx512)));
    const Numbers plain = computedWith(frontend::smallKernels(InstructionSet::Baseline));
    for (std::size_t k = 0; k < plain.size(); ++k) {
        EXPECT_NEAR(plain[k], narrow[k], 1e-13 * (1.0 + std::abs(narrow[k])));
    }
}

/// Products that cancel down to the last of their 106 bits. The sums consist of integers and are
/// known.
TEST_F(SmallKernels, SumProductsWithTwiceTheDigits) {
    using frontend::InstructionSet;
    std::mt19937_64 bits(1);
    for (const InstructionSet set :
         {InstructionSet::Baseline, InstructionSet::Avx2, InstructionSet::Avx512}) {
        if (set > frontend::instructionSet()) {
            continue;
        }
        const frontend::SmallKernels kernels = frontend::smallKernels(set);
        for (std::size_t place = 0; place < 24; ++place) {
            alignas(64) std::array<double, 24> a{};
            alignas(64) std::array<double, 24> b{};
            const auto big = static_cast<double>((bits() >> 11U) | (std::uint64_t{1} << 52U));
            const double other = big - 1.0;
            a[place] = big;
            b[place] = big;
            a[(place + 7) % 24] = -other;
            b[(place + 7) % 24] = other;  // big² − (big − 1)² = 2·big − 1
            const frontend::SmallSum sum = kernels.exactDot(a.data(), b.data(), 24);
            EXPECT_EQ(static_cast<long double>(sum.value) + sum.rest, 2.0L * big - 1.0L);
            const frontend::SmallSum sides = kernels.exactSides(a.data(), b.data(), b.data(), 24);
            EXPECT_EQ(sides.value, sum.value);
            EXPECT_EQ(sides.rest, sum.rest);
            // Each row of a product and each combined column of rows has the same sum.
            Numbers matrix(24 * 24, 0.0);
            for (std::size_t k = 0; k < 24; ++k) {
                matrix[k] = matrix[24 * k + 3] = big;
                matrix[24 + k] = matrix[24 * k + 21] = -other;
            }
            const Numbers factors{big, other};
            const Numbers members{3.0, 21.0, 24.0};
            b.fill(0.0);
            b[3] = big;
            b[21] = other;
            std::array<Numbers, 3> to;
            to.fill(Numbers(24));
            const frontend::SmallSums sums{to[0].data(), to[1].data(), to[2].data()};
            const auto expectSums = [&](std::size_t first, std::size_t count) {
                for (std::size_t k = first; k < count; ++k) {
                    EXPECT_EQ(static_cast<long double>(to[0][k]) + to[1][k], 2.0L * big - 1.0L);
                }
            };
            kernels.exactProduct({matrix.data(), 24, 2, 24, 24}, factors.data(), sums);
            expectSums(4, 21);
            kernels.exactRows({matrix.data(), 24, 20, 24, 24}, members.data(), b.data(), 3, 24,
                              sums);
            expectSums(2, 20);
            EXPECT_EQ(to[2][21], 0.0);
        }
    }
}

}  // namespace
}  // namespace activeset::test
