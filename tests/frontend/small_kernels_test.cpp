// The loops of the method for small problems. Every instruction set with FMA gives the same bits.
#include "frontend/predict/small_kernels.hpp"

#include <array>
#include <cmath>
#include <random>

#include "frontend/generator.hpp"
#include "frontend/instruction_sets.hpp"
#include "frontend/predict/small_memory.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

class SmallKernels : public FreshState {};

/// Everything that a solve computes with a set of kernels. n and m are no multiples of eight.
class Computed {
public:
    explicit Computed(const frontend::SmallKernels& kernels) : kernels_(kernels) {
        memory_.reshape({13, 21});
        prepare();
        computeImages();
        computeSums();
        computeProof();
    }
    [[nodiscard]] const Numbers& numbers() const { return all_; }

private:
    void add(std::initializer_list<double> numbers) {
        all_.insert(all_.end(), numbers.begin(), numbers.end());
    }
    void add(const double* first, std::size_t count) {
        all_.insert(all_.end(), first, first + count);
    }
    [[nodiscard]] frontend::SmallMatrix images() const {
        return {memory_.images + shape_.head(), shape_.constraints(), shape_.cols(),
                shape_.height() + shape_.head(), shape_.rows()};
    }

    void prepare() {
        std::mt19937_64 bits(5);
        std::normal_distribution<double> normal;
        const auto random = [&] { return normal(bits); };
        std::generate_n(memory_.data, shape_.height() * shape_.cols(), random);
        for (std::size_t j = 0; j < shape_.cols(); ++j) {
            memory_.data[j * shape_.height() + j] = 30.0;
        }
        for (double* array : {memory_.x, memory_.g, memory_.z}) {
            std::generate_n(array, shape_.cols(), random);
        }
        std::fill_n(memory_.lower, shape_.constraints(), -1.0);
        std::fill_n(memory_.inverseNorm, shape_.constraints(), 1.0);
    }

    void computeImages() {
        EXPECT_TRUE(kernels_.factorise(memory_.stackWithImages(), 1e-12));
        const std::size_t count = (shape_.height() + shape_.head()) * shape_.cols();
        const Numbers atOnce(memory_.images, memory_.images + count);
        std::fill_n(memory_.images, count, 0.0);
        memory_.waiting = 16;
        EXPECT_TRUE(kernels_.factorise(memory_.stackWithImages(), 1e-12));
        EXPECT_NE(Numbers(memory_.images, memory_.images + count), atOnce);
        kernels_.formWaiting(memory_.stackWithImages());
        EXPECT_EQ(Numbers(memory_.images, memory_.images + count), atOnce);
        const frontend::SmallViolation worst = kernels_.price(
            images(), memory_.z, memory_.lower, memory_.upper, memory_.inverseNorm, memory_.values);
        add({worst.amount, static_cast<double>(worst.index)});
        const std::size_t leading = shape_.height() + shape_.head();
        std::copy_n(memory_.z, shape_.head(), memory_.residual);
        kernels_.solveLower(memory_.images, shape_.head(), leading, memory_.residual);
        kernels_.solveLowerTransposed(memory_.images, shape_.head(), leading, memory_.residual);
        add(memory_.residual, shape_.head());
        kernels_.inverseNorms(images(), 0.0, memory_.multipliers);
        kernels_.multiplyTransposed(images(), memory_.values, memory_.r);
        kernels_.multiplyAdd(images(), memory_.x, memory_.lower, memory_.highest);
    }

    void computeSums() {
        const frontend::SmallMatrix data{memory_.data, shape_.height(), shape_.cols(),
                                         shape_.height(), shape_.height()};
        memory_.x[4] = memory_.x[9] = 0.0;
        kernels_.exactProduct(data, memory_.x, memory_.products);
        kernels_.addColumns(data, memory_.x, memory_.products.scale);
        const Numbers members{3.0, 20.0, 0.0, 22.0, 13.0};
        const frontend::SmallMatrix rows{memory_.data + shape_.head(), shape_.rows(), shape_.cols(),
                                         shape_.height(), shape_.rows()};
        kernels_.exactProduct({memory_.data, shape_.head(), members.size(), shape_.height(), 0},
                              memory_.values, memory_.pull);
        kernels_.addRows(rows, members.data(), memory_.x, members.size(), shape_.head(), memory_.w);
        kernels_.gather(0.7, images(), 7, 0, shape_.head(), memory_.p);
        const frontend::SmallSum sum = kernels_.exactDot(memory_.x, memory_.g, shape_.head());
        const frontend::SmallMatrix factor{memory_.images, shape_.head(), 5,
                                           shape_.height() + shape_.head(), shape_.head()};
        const frontend::SmallMatrix inverse{memory_.images, 8, 5, factor.leading, 8};
        Numbers shares(3 * shape_.head());
        const double left = kernels_.project(
            factor, inverse, memory_.g,
            {shares.data(), shares.data() + shape_.head(), shares.data() + 2 * shape_.head()});
        add(shares.data(), shares.size());
        kernels_.addScaled(0.3, memory_.g, memory_.z, shape_.head());
        kernels_.rotate(0.6, 0.8, memory_.g, memory_.z, shape_.head());
        add({sum.value, sum.rest, sum.scale, left,
             kernels_.dot(memory_.x, memory_.z, shape_.head())});
        for (const double* array : {memory_.values, memory_.multipliers, memory_.highest}) {
            add(array, shape_.constraints());
        }
        for (const double* array : {memory_.r, memory_.g, memory_.z}) {
            add(array, shape_.cols());
        }
    }

    void computeProof() {
        const std::size_t head = shape_.head();
        const frontend::SmallGradient gradient{memory_.products, memory_.pull, memory_.g,
                                               memory_.z,        memory_.x,    memory_.lower,
                                               memory_.values};
        kernels_.negativeGradient(gradient, head, memory_.residual);
        const frontend::SmallGradientProof proof =
            kernels_.weighGradient(gradient, {0.3, 0.6, 1e-3, 2.0, 1.0, 0.5, 3.0, Infinity}, head);
        const frontend::SmallSum sides = kernels_.exactSides(memory_.x, memory_.g, memory_.z, head);
        const auto& [value, rest, scale] = memory_.products;
        const bool isMissed = kernels_.misses(value, rest, memory_.g, memory_.z, head, memory_.u);
        const frontend::SmallStep step =
            kernels_.moved(memory_.x, memory_.step, memory_.residual, head);
        add({proof.absolute, proof.relative, proof.weight, proof.rest, proof.isSound ? 1.0 : 0.0,
             sides.value, sides.rest, sides.scale, isMissed ? 1.0 : 0.0, step.length, step.size});
        for (const double* array :
             {memory_.residual, memory_.u, memory_.step, memory_.w, memory_.p}) {
            add(array, head);
        }
        for (const double* sums : {value, rest, scale}) {
            add(sums, shape_.height());
        }
    }

    frontend::SmallKernels kernels_;
    frontend::SmallMemory memory_;
    const frontend::SmallShape& shape_ = memory_.shape;
    Numbers all_;
};

Numbers computedWith(const frontend::SmallKernels& kernels) {
    return Computed(kernels).numbers();
}

/// The triangle is of small integers, and so is the solution; above it are no numbers.
TEST_F(SmallKernels, SolveWithBothTriangles) {
    constexpr std::size_t Count = 24;
    Numbers L(Count * Count, std::nan(""));
    Numbers expected(Count);
    for (std::size_t j = 0; j < Count; ++j) {
        expected[j] = static_cast<double>(j % 5) - 2.0;
        for (std::size_t i = j; i < Count; ++i) {
            L[j * Count + i] = i == j ? 2.0 : static_cast<double>((3 * i + 5 * j) % 7) - 3.0;
        }
    }
    Numbers product(Count);
    Numbers transposed(Count);
    for (std::size_t j = 0; j < Count; ++j) {
        for (std::size_t i = j; i < Count; ++i) {
            product[i] += L[j * Count + i] * expected[j];
            transposed[j] += L[j * Count + i] * expected[i];
        }
    }
    for (const frontend::InstructionSet set : frontend::instructionSets()) {
        const frontend::SmallKernels kernels = frontend::smallKernels(set);
        Numbers x = product;
        kernels.solveLower(L.data(), Count, Count, x.data());
        EXPECT_EQ(x, expected);
        x = transposed;
        kernels.solveLowerTransposed(L.data(), Count, Count, x.data());
        EXPECT_EQ(x, expected);
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
            // Each row of a product has the same sum.
            Numbers matrix(24 * 2, big);
            std::fill(matrix.begin() + 24, matrix.end(), -other);
            const Numbers factors{big, other};
            std::array<Numbers, 3> to;
            to.fill(Numbers(24));
            kernels.exactProduct({matrix.data(), 24, 2, 24, 24}, factors.data(),
                                 {to[0].data(), to[1].data(), to[2].data()});
            for (std::size_t k = 0; k < 24; ++k) {
                EXPECT_EQ(static_cast<long double>(to[0][k]) + to[1][k], 2.0L * big - 1.0L);
            }
        }
    }
}

/// (2⁵² + 1)·(2²⁷ + 1) + 3·5 = 2⁷⁹ + 2⁵² + 2²⁷ + 16, of which a double holds all but the last
/// number.
TEST_F(SmallKernels, KeepTheLastDigitsOfSumsThatDoNotCancel) {
    const auto signOf = [](std::size_t i) { return i % 3 == 0 ? -1.0 : 1.0; };
    constexpr std::size_t Rows = 40;
    Numbers matrix(2 * Rows);
    for (std::size_t i = 0; i < Rows; ++i) {
        matrix[i] = signOf(i) * (0x1p52 + 1.0);
        matrix[Rows + i] = signOf(i) * 3.0;
    }
    const Numbers factors{0x1p27 + 1.0, 5.0};
    for (const frontend::InstructionSet set : frontend::instructionSets()) {
        Numbers value(Rows);
        Numbers rest(Rows);
        Numbers scale(Rows);
        frontend::smallKernels(set).exactProduct({matrix.data(), Rows, 2, Rows, Rows},
                                                 factors.data(),
                                                 {value.data(), rest.data(), scale.data()});
        for (std::size_t i = 0; i < Rows; ++i) {
            EXPECT_EQ(value[i], signOf(i) * (0x1p79 + 0x1p52 + 0x1p27));
            EXPECT_EQ(rest[i], signOf(i) * 16.0);
            EXPECT_EQ(scale[i], 0x1p79 + 0x1p52 + 0x1p27);
        }
    }
}

}  // namespace
}  // namespace activeset::test
