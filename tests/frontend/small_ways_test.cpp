// Guesses, sequences and limits of the method for small problems.
#include "frontend/small_road.hpp"

namespace activeset::test {
namespace {

class SmallWays : public FreshState {};

/// Bounds, an equality and an inequality. Some variables are fixed, some have no bounds; with ties,
/// H and the bounds are integers and many multipliers zero.
Sample boundedSample(std::size_t n, unsigned seed, bool hasTies) {
    Sample s{n,          2,          Numbers(n * n, 0.0), Numbers(n), Numbers(2 * n),
             Numbers(2), Numbers(2), Numbers(n),          Numbers(n), {}};
    std::mt19937_64 bits(seed);
    std::uniform_real_distribution<double> entry(-1.0, 1.0);
    const auto number = [&](double size) {
        return hasTies ? std::round(size * entry(bits)) : size * entry(bits);
    };
    for (std::size_t j = 0; j < n; ++j) {
        s.H[j * n + j] = static_cast<double>(n);
        for (std::size_t i = 0; i < j; ++i) {
            s.H[j * n + i] = s.H[i * n + j] = number(2.0);
        }
        s.c[j] = number(2.0 * static_cast<double>(n));
        s.A[2 * j] = 1.0;
        s.A[2 * j + 1] = number(2.0);
        const std::size_t kind = bits() % 16;
        s.lower[j] = kind == 0 ? -Infinity : number(1.0) - 1.0;
        s.upper[j] = kind == 0 ? Infinity : kind == 1 ? s.lower[j] : s.lower[j] + 1.0;
    }
    s.rowLower = {-1.0, -Infinity};
    s.rowUpper = {-1.0, 1.0};
    return s;
}

/// Neither guesses nor soft sides go another way because a linear program came before.
TEST_F(SmallWays, ForgetTheProximalTermOfOthers) {
    const Sample linear = randomSample(1, 9, false);
    const Problem before{.c = linear.c, .lower = linear.lower, .upper = linear.upper};
    for (unsigned seed = 0; seed < 6; ++seed) {
        SmallProblem fresh;
        SmallProblem used;
        static_cast<void>(solveSmall(used, before));
        const Sample sample = boundedSample(60, seed, false);
        const std::optional<Result> alone = solveSmall(fresh, sample.view());
        const std::optional<Result> after = solveSmall(used, sample.view());
        ASSERT_TRUE(alone && after);
        EXPECT_EQ(after->x, alone->x);
        EXPECT_EQ(after->iterations.proximal, 0U);
        EXPECT_EQ(after->iterations.refinement, alone->iterations.refinement);
    }
}

/// Images of rows wait until the minimum without constraints misses one. Results do not depend on
/// whether they were formed before.
TEST_F(SmallWays, NeedNoImagesWhereTheFreeMinimumMeetsAllRows) {
    const Sample sample = boundedSample(40, 3, false);
    Numbers A(60 * sample.n);
    std::mt19937_64 bits(7);
    std::ranges::generate(A, [&] { return std::normal_distribution<double>()(bits); });
    const Numbers low(60, -1.0);
    const Numbers high(60, 1.0);
    Numbers gentle = sample.c;
    std::ranges::transform(gentle, gentle.begin(), [](double c) { return c / 1024.0; });
    Problem problem{.H = {sample.H, sample.n, sample.n},
                    .c = gentle,
                    .A = {A, 60, sample.n},
                    .rowLower = low,
                    .rowUpper = high};
    SmallProblem road;
    const std::optional<Result> free = solveSmall(road, problem);
    ASSERT_TRUE(free);
    EXPECT_GT(road.memory().waiting, 0U);
    EXPECT_EQ(free->workingSet.size(), 0U);
    expectAgreement({.n = sample.n,
                     .m = 60,
                     .H = sample.H,
                     .c = gentle,
                     .A = A,
                     .rowLower = low,
                     .rowUpper = high,
                     .lower = Numbers(sample.n, -Infinity),
                     .upper = Numbers(sample.n, Infinity)},
                    *free, solveGenerally(problem));

    Solver solver(problem);
    EXPECT_EQ(solver.solve().x, free->x);
    for (const Numbers& c : {sample.c, gentle, sample.c}) {
        solver.setLinear(c);
        const Result next = solver.solve();
        problem.c = c;
        const std::optional<Result> fresh = solveSmall(road, problem);
        ASSERT_TRUE(fresh);
        EXPECT_EQ(next.workingSet, fresh->workingSet);
        EXPECT_EQ(next.workingSet.size() > 0, c == sample.c);
        for (std::size_t j = 0; j < sample.n; ++j) {
            EXPECT_NEAR(next.x[j], fresh->x[j], 1e-12);
        }
    }
}

/// Strictly convex; the origin misses each of 2n rows.
Sample missedRows(std::size_t n, unsigned seed) {
    Sample s{.n = n, .m = 2 * n, .H = Numbers(n * n), .c = Numbers(n), .A = Numbers(2 * n * n)};
    s.rowLower.assign(s.m, -Infinity);
    s.rowUpper.assign(s.m, -0.05);
    std::mt19937_64 bits(seed);
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    Numbers root(n * n);
    for (Numbers* part : {&root, &s.A}) {
        std::ranges::generate(*part, [&] { return uniform(bits); });
    }
    for (std::size_t j = 0; j < n; ++j) {
        s.c[j] = 5.0 * uniform(bits);
        for (std::size_t k = 0; k < n * n; ++k) {
            s.H[j * n + k % n] += root[k / n * n + j] * root[k / n * n + k % n];
        }
        s.H[j * n + j] += 1.0;
    }
    return s;
}

/// Caps are in proportion to norms of images, which are formed late, or are those of other
/// problems.
TEST_F(SmallWays, MeasureCapsByTheirOwnImages) {
    for (unsigned seed = 0; seed < 4; ++seed) {
        const Sample sample = missedRows(40, seed);
        const Sample other = missedRows(40, seed + 10);
        const Numbers penalty(80, 0.05);
        Problem soft = sample.view();
        soft.rowPenalty.upperLinear = penalty;
        releaseWorkspaces();
        const Result alone = solve(soft);
        static_cast<void>(solve(other.view()));
        const Result after = solve(soft);
        EXPECT_EQ(after.x, alone.x);
        EXPECT_EQ(after.iterations.dual, alone.iterations.dual);
        EXPECT_LT(alone.iterations.dual, 200U);
    }
}

TEST_F(SmallWays, WithManyBoundsAreGuessedAndHaveTheSameAnswers) {
    SmallProblem road;
    int guessed = 0;
    int optimal = 0;
    int large = 0;
    for (unsigned seed = 0; seed < 24; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        const std::size_t larger = seed < 20 ? 0 : 23 * (seed - 19);  // beyond 100 no images follow
        const Sample sample = boundedSample(48 + seed % 9 + larger, seed, seed % 2 == 0);
        const std::optional<Result> small = solveSmall(road, sample.view());
        if (small) {
            expectAgreement(sample, *small, solveGenerally(sample.view()));
            optimal += small->status == Status::Optimal ? 1 : 0;
            guessed += small->status == Status::Optimal && small->iterations.dual == 0 ? 1 : 0;
        }
        large += small && sample.n > 100 ? 1 : 0;
        if (HasFailure()) {
            return;
        }
    }
    EXPECT_GT(optimal, 12);
    EXPECT_GT(guessed, optimal / 2);
    EXPECT_GT(large, 0);
}

/// Where few bounds hold the guess gives way. The dual method uses what it has loaded, and the
/// bounds that its descent has found, whatever came before.
TEST_F(SmallWays, AreSolvedByTheDualMethodWhereTheGuessGivesWay) {
    constexpr std::size_t Held = 6;
    SmallProblem road;
    Sample sample = boundedSample(50, 1, false);
    ASSERT_TRUE(solveSmall(road, sample.view()));
    sample.lower.assign(sample.n, -100.0);
    sample.upper.assign(sample.n, 100.0);
    std::fill_n(sample.lower.begin() + 3, Held, 50.0);
    sample.rowUpper[1] = -300.0;
    const std::optional<Result> found = solveSmall(road, sample.view());
    ASSERT_TRUE(found);
    EXPECT_EQ(found->workingSet.atLower.size(), Held);
    EXPECT_GT(found->iterations.dual, 0U);
    EXPECT_LT(found->iterations.dual, Held);
    expectAgreement(sample, *found, solveGenerally(sample.view()));
}

/// Memory that was given back is asked for anew, and nothing is taken for kept.
TEST_F(SmallWays, AreSolvedAgainAfterTheMemoryIsReleased) {
    const Sample sample = randomSample(3, 20, false);
    const Settings settings;
    Control control(settings, Limit);
    SmallProblem solver;
    const std::optional<Result> first = solveSmall(solver, sample.view());
    ASSERT_TRUE(first);
    solver.release();
    EXPECT_EQ(solver.memory().shape.n, 0U);
    Result again;
    ASSERT_TRUE(solver.solveNext(sample.view(), {.matrices = true, .set = true}, {}, settings,
                                 control, again));
    EXPECT_EQ(again.x, first->x);
}

/// Sides come and go, equalities become ranges. The kept factors are updated, and every solve has
/// its own answer.
TEST_F(SmallWays, FollowASequenceFromTheirFactors) {
    int proved = 0;
    for (unsigned seed = 1; seed < 120; seed += 2) {
        Sample sample = randomSample(seed, 14, false);
        SmallProblem solver;
        Result next;  // overwritten in every step
        std::mt19937_64 bits(seed);
        for (unsigned step = 0; step < 10; ++step) {
            SCOPED_TRACE("seed " + std::to_string(seed) + ", step " + std::to_string(step));
            const Settings settings;
            Control control(settings, Limit);
            const SmallProblem::Kept kept{.matrices = step > 0, .set = step > 0};
            if (solver.solveNext(sample.view(), kept, {}, settings, control, next)) {
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

/// Only bounds hold, so that the factors leave no residual; a small pivot of H is not trusted.
TEST_F(SmallWays, AreCorrectedWhereThatIsDue) {
    for (const double curvature : {1.0, 0x1p-20}) {
        const std::size_t corrections = curvature == 1.0 ? 0 : 1;
        Numbers c{-3.0, 1.0, -0.5};
        const Numbers H{1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, curvature};
        const Numbers bounds{-1.0, -1.0, -1.0, 1.0, 1.0, 1.0};
        Solver solver({.H = {H, 3, 3}, .c = c, .lower = {&bounds[0], 3}, .upper = {&bounds[3], 3}});
        EXPECT_EQ(solver.solve().iterations.refinement, corrections);
        c = {-2.0, 2.0, -0.25 * curvature};
        solver.setLinear(c);
        const Result next = solver.solve();
        EXPECT_EQ(next.x, (Numbers{1.0, -1.0, 0.25}));
        EXPECT_EQ(next.z, (Numbers{1.0, -1.0, 0.0}));
        EXPECT_EQ(next.iterations.refinement, corrections);
    }
}

/// More steps than 3n + m/8, but no more than 4n, are needed for seven rows; rows of zeros, which
/// only raise the limit, make room for them.
TEST_F(SmallWays, AreGivenUpAfterALimitOfSteps) {
    const Numbers c{-28.0, 5.0};
    const Numbers H{1.0, 0.0, 0.0, 1.0};
    const Numbers first{5.0, 5.0, 4.0, -7.0, 4.0, 0.0, 2.0};
    const Numbers second{9.0, -5.0, -10.0, 0.0, -7.0, 8.0, 6.0};
    const auto solveWith = [&](std::size_t m, std::size_t stepsPerVariable) {
        Numbers A(2 * m, 0.0);
        Numbers upper{2.0, 8.0, 2.0, 1.0, 2.0, 3.0, 0.0};
        upper.resize(m, 1.0);
        std::ranges::copy(first, A.begin());
        std::ranges::copy(second, A.begin() + static_cast<std::ptrdiff_t>(m));
        const Problem problem{.H = {H, 2, 2}, .c = c, .A = {A, m, 2}, .rowUpper = upper};
        frontend::SmallMemory memory;
        frontend::SmallExtent extent;
        memory.reshape({2, m});
        EXPECT_TRUE(loadVectors(problem, memory, extent) && loadMatrices(problem, memory, extent) &&
                    formImages(memory, extent));
        formWaitingImages(memory);
        frontend::SmallDual dual(memory);
        dual.limitSteps(stepsPerVariable);
        dual.begin({});
        const Settings settings;
        Control control(settings, Limit);
        return dual.minimise(control);
    };
    using End = frontend::SmallDual::End;
    EXPECT_EQ(solveWith(7, 3), End::GivenUp);
    EXPECT_EQ(solveWith(7, 4), End::Optimal);
    EXPECT_EQ(solveWith(64, 3), End::Optimal);
}

}  // namespace
}  // namespace activeset::test
