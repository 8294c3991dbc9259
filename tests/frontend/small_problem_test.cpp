// The road of small problems gives what the general road gives, or nothing.
#include "frontend/predict/small_problem.hpp"

#include <array>
#include <map>

#include "frontend/generator.hpp"
#include "frontend/proof/certificate.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

class SmallProblems : public FreshState {};

using frontend::Control;
using frontend::SmallProblem;

constexpr std::size_t Limit = 100000;

std::optional<Result> solveSmall(SmallProblem& road, const Problem& problem) {
    const Settings settings;
    Control control(settings, Limit);
    Result result;
    return road.solve(problem, settings, control, result) ? std::optional(result) : std::nullopt;
}

/// Somebody who counts passes is sent there.
Result solveGenerally(const Problem& problem) {
    return solve(problem, {.startMode = Start::Predict, .maxIterations = Limit});
}

void expectAgreement(const Sample& sample, const Result& small, const Result& general) {
    ASSERT_EQ(small.status, general.status);
    EXPECT_EQ(exact::falseClaim(sample, small), "");
    if (small.status == Status::Infeasible) {
        EXPECT_EQ(small.x, general.x);
        return;
    }
    EXPECT_NEAR(small.objective, general.objective, 1e-9 * (1.0 + std::abs(general.objective)));
    EXPECT_TRUE(small.wasPredicted);
    // What the certificate says is what the caller's data say.
    const frontend::Judgement judgement =
        frontend::judge(frontend::copyOf(sample.view()), {small.x, small.y, small.z});
    const Certificate& said = small.certificate;
    const Certificate& found = judgement.certificate;
    EXPECT_NEAR(said.primal.relative, found.primal.relative, 1e-17);
    EXPECT_NEAR(said.dual.relative, found.dual.relative, 1e-14);
    EXPECT_LE(found.gap.relative, said.gap.relative + 1e-14);  // the plainer proof says more
    EXPECT_NEAR(said.gap.absolute, found.gap.absolute, 1e-14 * (1.0 + std::abs(small.objective)));
    EXPECT_NEAR(small.objective, judgement.objective, 1e-15 * (1.0 + std::abs(small.objective)));
}

/// One object for all of them: what one problem leaves behind must not matter to the next. Half
/// have integers that tie, half may be of any kind, also infeasible or singular.
TEST_F(SmallProblems, HaveTheAnswersOfTheGeneralRoad) {
    std::map<Status, int> met;
    int strict = 0;
    SmallProblem road;
    for (unsigned seed = 0; seed < 1500; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        const Sample sample = randomSample(seed, seed % 10 == 0 ? 40 : 9, seed % 2 == 0);
        const std::optional<Result> small = solveSmall(road, sample.view());
        strict += seed % 2 == 1 ? 1 : 0;
        if (small) {
            ++met[small->status];
            expectAgreement(sample, *small, solveGenerally(sample.view()));
            const std::optional<Result> alone = [&] {
                SmallProblem fresh;
                return solveSmall(fresh, sample.view());
            }();
            ASSERT_TRUE(alone);
            EXPECT_EQ(small->x, alone->x);
            EXPECT_EQ(small->y, alone->y);
            EXPECT_EQ(small->z, alone->z);
        }
        if (HasFailure()) {
            return;
        }
    }
    EXPECT_GT(met[Status::Optimal], strict * 9 / 10);
    EXPECT_GT(met[Status::Infeasible], 10);
}

/// Gaps between columns, rows after rows, and a Hessian whose halves rounding has set apart.
TEST_F(SmallProblems, AreReadInAnyOrder) {
    for (unsigned seed = 1; seed < 60; seed += 2) {
        const Sample sample = randomSample(seed, 20, false);
        const std::size_t n = sample.n;
        const std::size_t m = sample.m;
        SmallProblem road;
        const std::optional<Result> plain = solveSmall(road, sample.view());
        ASSERT_TRUE(plain);
        Numbers byRows(m * (n + 3), std::nan(""));
        Numbers spaced(n * (n + 1), std::nan(""));
        for (std::size_t j = 0; j < n; ++j) {
            for (std::size_t i = 0; i < m; ++i) {
                byRows[i * (n + 3) + j] = sample.entryOfA(i, j);
            }
            std::copy_n(sample.H.data() + j * n, n, spaced.data() + j * (n + 1));
        }
        Problem problem = sample.view();
        problem.H = MatrixView(spaced.data(), n, n, n + 1);
        problem.A = m == 0 ? problem.A : MatrixView(byRows.data(), m, n, n + 3, Order::RowMajor);
        const std::optional<Result> other = solveSmall(road, problem);
        ASSERT_TRUE(other);
        EXPECT_EQ(plain->x, other->x);
        EXPECT_EQ(plain->y, other->y);
        if (n > 1) {
            spaced[1] += 1e-13 * std::abs(spaced[0]);
            EXPECT_TRUE(solveSmall(road, problem));
            spaced[1] += 1e-3 * std::abs(spaced[0]);
            EXPECT_FALSE(solveSmall(road, problem));
        }
    }
}

/// What the road is not for goes by untouched, whatever the views claim.
TEST_F(SmallProblems, LeaveTheRestAlone) {
    SmallProblem road;
    const Numbers one{1.0};
    const Numbers two{1.0, 1.0};
    const Numbers tiny{1e-200};
    const Numbers infinite{Infinity};
    for (const Problem& problem :
         {Problem{}, Problem{.c = one}, Problem{.H = {one, 2, 2}, .c = two},
          Problem{.H = {one, 1, 1}, .c = two}, Problem{.H = {one, 1, 1}, .A = {nullptr, 3, 1}},
          Problem{.H = {one, 1, 1}, .A = {one, std::size_t{1} << 60U, 1}},
          Problem{.H = {one, 1, 1}, .rowUpper = one}, Problem{.H = {one, 1, 1}, .start = infinite},
          Problem{.H = {one, 1, 1}, .lower = infinite}, Problem{.H = {one, 1, 1}, .c = infinite},
          Problem{.H = {tiny, 1, 1}}, Problem{.H = {one, 1, 1}, .lower = two}}) {
        EXPECT_FALSE(solveSmall(road, problem));
    }
    EXPECT_TRUE(solveSmall(road, {.H = {one, 1, 1}}));
}

/// Sides come and go, equalities become ranges: the kept factors follow, and no solve is another
/// one's.
TEST_F(SmallProblems, FollowASequenceFromTheirFactors) {
    int proved = 0;
    for (unsigned seed = 1; seed < 120; seed += 2) {
        Sample sample = randomSample(seed, 14, false);
        SmallProblem road;
        Result next;  // overwritten, whatever it says
        std::mt19937_64 bits(seed);
        for (unsigned step = 0; step < 10; ++step) {
            SCOPED_TRACE("seed " + std::to_string(seed) + ", step " + std::to_string(step));
            const Settings settings;
            Control control(settings, Limit);
            const SmallProblem::Kept kept{.matrices = step > 0, .set = step > 0};
            if (road.solveNext(sample.view(), kept, {}, settings, control, next)) {
                ++proved;
                expectAgreement(sample, next, solveGenerally(sample.view()));
            }
            if (HasFailure()) {
                return;
            }
            for (double& entry : sample.c) {
                entry += 0.1 * static_cast<double>(bits() % 7) - 0.3;
            }
            for (std::size_t i = 0; i < sample.m; ++i) {
                const std::uint64_t kind = bits() % 12;
                sample.rowUpper[i] = kind == 0   ? Infinity
                                     : kind == 1 ? std::max(sample.rowLower[i], -50.0)
                                                 : sample.rowUpper[i] + 0.1;
                sample.rowLower[i] = std::min(sample.rowLower[i], sample.rowUpper[i]);
            }
        }
    }
    EXPECT_GT(proved, 450);
}

/// Everything that a solve computes, with a set of kernels, n and m not multiples of eight.
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

/// Sides in every place of a group of eight, with what is wrong with one of them.
TEST_F(SmallProblems, LookAtEverySide) {
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

TEST_F(SmallProblems, HaveTheSameBitsWithEverySetThatHasFma) {
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

/// Products that cancel down to the last of their 106 bits, in sums of integers whose outcome is
/// known.
TEST_F(SmallProblems, SumProductsWithTwiceTheDigits) {
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
        }
    }
}

}  // namespace
}  // namespace activeset::test
