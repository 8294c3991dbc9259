// The method for small problems gives the answers of the general method, or none.
#include "frontend/predict/small_problem.hpp"

#include <map>

#include "frontend/generator.hpp"
#include "frontend/proof/certificate.hpp"
#include "frontend/proof/farkas.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

class SmallProblems : public FreshState {};

using frontend::Control;
using frontend::SmallProblem;

constexpr std::size_t Limit = 100000;

std::optional<Result> solveSmall(SmallProblem& solver, const Problem& problem) {
    const Settings settings;
    Control control(settings, Limit);
    Result result;
    return solver.solve(problem, settings, control, result) ? std::optional(result) : std::nullopt;
}

/// The method for small problems leaves a solve that counts passes to the general one.
Result solveGenerally(const Problem& problem) {
    return solve(problem, {.startMode = Start::Predict, .maxIterations = Limit});
}

void expectAgreement(const Sample& sample, const Result& small, const Result& general) {
    ASSERT_EQ(small.status, general.status);
    EXPECT_EQ(exact::falseClaim(sample, small), "");
    // The proofs agree with those computed from the caller's data.
    const frontend::ProblemData data = frontend::copyOf(sample.view());
    const frontend::Judgement judgement = frontend::judge(data, {small.x, small.y, small.z});
    const Certificate& said = small.certificate;
    const Certificate& found = judgement.certificate;
    EXPECT_NEAR(said.primal.relative, found.primal.relative,
                std::max(1e-17, 1e-15 * found.primal.relative));
    EXPECT_NEAR(said.dual.relative, found.dual.relative, 1e-14);
    if (small.status == Status::Infeasible) {
        const Farkas farkas = frontend::judgeFarkas(data, small.farkas->y);
        EXPECT_EQ(small.farkas->value, farkas.value);
        EXPECT_EQ(small.farkas->residual.absolute, farkas.residual.absolute);
        EXPECT_EQ(small.farkas->radius, farkas.radius);
        // The loop ends at the nearest point where its prediction is no proof.
        if (general.iterations.phaseOne == 0) {
            EXPECT_EQ(small.x, general.x);
        }
        return;
    }
    EXPECT_NEAR(small.objective, general.objective, 1e-9 * (1.0 + std::abs(general.objective)));
    EXPECT_TRUE(small.wasPredicted);
    // Its rounding bound is wider, but not that of free variables without curvature.
    const double share = small.iterations.proximal > 0 ? 1.5 : 1.0;
    EXPECT_LE(found.gap.relative, share * said.gap.relative + 1e-14);
    EXPECT_NEAR(said.gap.absolute, found.gap.absolute, 1e-14 * (1.0 + std::abs(small.objective)));
    EXPECT_NEAR(small.objective, judgement.objective, 1e-15 * (1.0 + std::abs(small.objective)));
}

/// One object solves all problems, and none must affect the next. Half of them have integers that
/// tie; half may be of any kind, also infeasible or singular.
TEST_F(SmallProblems, HaveTheAnswersOfTheGeneralMethod) {
    std::map<Status, int> met;
    int strict = 0;
    SmallProblem solver;
    for (unsigned seed = 0; seed < 1800; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        const Sample sample = randomSample(seed, seed % 10 == 0 ? 40 : 9, seed % 2 == 0);
        const std::optional<Result> small = solveSmall(solver, sample.view());
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

/// Linear programs, some without an H and some with zeros, and singular Hessians. Integers tie, so
/// that vertices are degenerate and minima are edges.
TEST_F(SmallProblems, MayBeLinearOrSingular) {
    std::map<Status, int> met;
    SmallProblem solver;
    for (unsigned seed = 0; seed < 600; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Sample sample = randomSample(seed, seed % 10 == 0 ? 40 : 9, false);
        for (std::size_t j = 0; j < sample.n; ++j) {
            for (std::size_t k = 0; k < sample.n; ++k) {  // rank 0 or 1
                sample.H[j * sample.n + k] = seed % 4 == 3 ? sample.c[j] * sample.c[k] : 0.0;
            }
        }
        if (seed % 3 != 0) {
            for (std::size_t j = 0; j < sample.n; ++j) {
                sample.lower[j] = std::max(sample.lower[j], -20.0);
                sample.upper[j] = std::min(sample.upper[j], 20.0);
            }
        }
        Problem problem = sample.view();
        problem.H = seed % 4 == 1 ? MatrixView() : problem.H;
        const std::optional<Result> small = solveSmall(solver, problem);
        const Result general = solveGenerally(problem);
        ++met[general.status];
        if (small) {
            expectAgreement(sample, *small, general);
            const bool isStrict = seed % 4 == 3 && sample.n == 1 && sample.c[0] != 0.0;
            EXPECT_EQ(small->iterations.proximal, isStrict ? 0U : 1U);
            --met[general.status];
        }
        if (HasFailure()) {
            return;
        }
    }
    EXPECT_LE(met[Status::Optimal], 30);  // left to the general method
    EXPECT_GT(met[Status::Unbounded], 20);
}

/// What a proximal step sees as an optimum is none of the problem itself.
TEST_F(SmallProblems, AreNotBoundedOrConvexByTheProximalTerm) {
    // min x₁ + (1 − 10⁻¹²)x₂ + x₃, 10⁻¹²(x₁ + x₂) ≥ 100, 0 ≤ x₃ ≤ 1 as a row: (1, −1, 0) descends.
    const Numbers c{1.0, 1.0 - 1e-12, 1.0};
    const Numbers A{1e-12, 0, 1e-12, 0, 0, 1};
    const Numbers lower{100, 0};
    const Numbers upper{Infinity, 1};
    EXPECT_EQ(solve({.c = c, .A = {A, 2, 3}, .rowLower = lower, .rowUpper = upper}).status,
              Status::Unbounded);
    // A curvature of −10⁻¹⁵ is no rounding of that of another variable.
    const Numbers H{1, 0, 0, -1.6e-15};
    const Numbers slope{-1, 0};
    const Numbers far(2, 1e8);
    const Numbers near(2, -1e8);
    EXPECT_EQ(solve({.H = {H, 2, 2}, .c = slope, .lower = near, .upper = far},
                    {.convexityTolerance = 0.0})
                  .status,
              Status::NotConvex);
    // An H without rows is no zero one.
    EXPECT_EQ(solve({.H = MatrixView(nullptr, 0, 2), .c = slope}).status, Status::Invalid);
}

/// More rows than variables meet in the optimum, but for the rounding of their sides: where they
/// are looked at closely, they are a crowd of vertices, of which one is optimal.
TEST_F(SmallProblems, FindTheVertexThatRoundedSidesLeave) {
    constexpr std::size_t N = 24;
    constexpr std::size_t M = 72;
    SmallProblem solver;
    int solved = 0;
    for (unsigned seed = 0; seed < 20; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937_64 random(seed);
        std::normal_distribution<double> number;
        Sample sample{.n = N, .m = M, .H = Numbers(N * N), .c = Numbers(N), .A = Numbers(M * N)};
        std::ranges::generate(sample.A, [&] { return number(random); });
        sample.rowLower.assign(M, -Infinity);
        sample.lower.assign(N, -Infinity);
        sample.upper.assign(N, Infinity);
        for (std::size_t i = 0; i < M; ++i) {
            sample.A[i] = -1.0 - std::abs(sample.A[i]);  // so that a way leads inside
            double value = 0.0;
            for (std::size_t j = 0; j < N; ++j) {
                value += sample.entryOfA(i, j) * std::sin(1.0 + static_cast<double>(j));
                sample.c[j] -= i < N + N / 2 ? sample.entryOfA(i, j) : 0.0;
            }
            sample.rowUpper.push_back(value + 1e-14 * number(random));
        }
        const std::optional<Result> small = solveSmall(solver, sample.view());
        solved += small ? 1 : 0;
        EXPECT_EQ(small ? exact::falseClaim(sample, *small) : "", "");
    }
    EXPECT_GE(solved, 18);
}

/// Assignments: at a vertex most variables are at bounds without being members, and corrections
/// leave some of them beside these by less than rounding.
TEST_F(SmallProblems, EndAtIntegersExactly) {
    constexpr std::size_t Places = 5;
    constexpr std::size_t N = Places * Places;
    SmallProblem solver;
    for (unsigned seed = 0; seed < 20; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937_64 random(seed);
        Sample sample{.n = N, .m = 2 * Places, .H = Numbers(N * N), .A = Numbers(N * 2 * Places)};
        sample.lower.assign(N, 0.0);
        sample.upper.assign(N, Infinity);
        sample.rowLower.assign(sample.m, 1.0);
        sample.rowUpper = sample.rowLower;
        for (std::size_t j = 0; j < N; ++j) {
            sample.A[j * sample.m + j / Places] = sample.A[j * sample.m + Places + j % Places] = 1;
            sample.c.push_back(std::generate_canonical<double, 53>(random));
        }
        const std::optional<Result> small = solveSmall(solver, sample.view());
        ASSERT_TRUE(small);
        EXPECT_EQ(exact::falseClaim(sample, *small), "");
        EXPECT_EQ(small->certificate.primal.absolute, 0.0);
    }
}

/// The last equality is the sum of the others: the point misses it by rounding, but a point beside
/// it does not. Without costs any such point is optimal.
TEST_F(SmallProblems, MayHaveEqualitiesThatDependOnOthers) {
    constexpr std::size_t N = 10;
    constexpr std::size_t M = 4;
    SmallProblem solver;
    for (unsigned seed = 0; seed < 40; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937_64 random(seed);
        std::normal_distribution<double> number;
        Sample sample{.n = N, .m = M, .H = Numbers(N * N), .A = Numbers(M * N)};
        sample.rowLower.assign(M, 0.0);
        sample.lower.assign(N, -20.0);
        sample.upper.assign(N, 20.0);
        for (std::size_t j = 0; j < N; ++j) {
            const bool isLinear = seed % 2 == 1;
            sample.H[j * N + j] = isLinear ? 0.0 : 1.0 + std::abs(number(random));
            sample.c.push_back(isLinear ? 0.0 : number(random));
            for (std::size_t i = 0; i + 1 < M; ++i) {
                const double entry = std::nearbyint(3.0 * number(random));
                sample.A[j * M + i] = entry;
                sample.A[j * M + M - 1] += entry;
                sample.rowLower[i] += entry * (static_cast<double>(j) - 4.0);
            }
        }
        sample.rowLower[M - 1] = sample.rowLower[0] + sample.rowLower[1] + sample.rowLower[2];
        sample.rowUpper = sample.rowLower;
        const std::optional<Result> small = solveSmall(solver, sample.view());
        ASSERT_TRUE(small);
        EXPECT_EQ(small->status, Status::Optimal);
        EXPECT_EQ(exact::falseClaim(sample, *small), "");
    }
}

/// The weights of later costs are others, and so are the images. Answers do not depend on what came
/// before.
TEST_F(SmallProblems, MayBeLinearWithCostsThatJump) {
    for (unsigned seed = 1; seed < 60; seed += 2) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Sample sample = randomSample(seed, 9, false);
        std::ranges::fill(sample.H, 0.0);
        sample.lower.assign(sample.n, -20.0);
        sample.upper.assign(sample.n, 20.0);
        Solver solver(sample.view());
        static_cast<void>(solver.solve());
        for (const double factor : {1e-12, 1e20, -3.0}) {
            Numbers c = sample.c;
            std::ranges::transform(c, c.begin(), [&](double entry) { return factor * entry; });
            solver.setLinear(c);
            Sample scaled = sample;
            scaled.c = c;
            const Result next = solver.solve();
            EXPECT_EQ(exact::falseClaim(scaled, next), "");
            EXPECT_EQ(next.status, solve(scaled.view()).status);
        }
    }
}

/// Gaps between columns, storage by rows, and a Hessian that is symmetric only up to rounding.
TEST_F(SmallProblems, AreReadInAnyOrder) {
    for (unsigned seed = 1; seed < 60; seed += 2) {
        const Sample sample = randomSample(seed, 20, false);
        const std::size_t n = sample.n;
        const std::size_t m = sample.m;
        SmallProblem solver;
        const std::optional<Result> plain = solveSmall(solver, sample.view());
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
        const std::optional<Result> other = solveSmall(solver, problem);
        ASSERT_TRUE(other);
        EXPECT_EQ(plain->x, other->x);
        EXPECT_EQ(plain->y, other->y);
        if (n > 1) {
            spaced[1] += 1e-13 * std::abs(spaced[0]);
            EXPECT_TRUE(solveSmall(solver, problem));
            spaced[1] += 1e-3 * std::abs(spaced[0]);
            EXPECT_FALSE(solveSmall(solver, problem));
        }
    }
}

/// Problems of other kinds are left untouched, whatever sizes the views claim.
TEST_F(SmallProblems, LeaveTheRestAlone) {
    SmallProblem solver;
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
        EXPECT_FALSE(solveSmall(solver, problem));
    }
    EXPECT_TRUE(solveSmall(solver, {.H = {one, 1, 1}}));
}

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
TEST_F(SmallProblems, ForgetTheProximalTermOfOthers) {
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

TEST_F(SmallProblems, WithManyBoundsAreGuessedAndHaveTheSameAnswers) {
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
TEST_F(SmallProblems, AreSolvedByTheDualMethodWhereTheGuessGivesWay) {
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
TEST_F(SmallProblems, AreSolvedAgainAfterTheMemoryIsReleased) {
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
TEST_F(SmallProblems, FollowASequenceFromTheirFactors) {
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
TEST_F(SmallProblems, AreCorrectedWhereThatIsDue) {
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

/// More steps than 3n + m/8 are needed for seven rows; rows of zeros, which only raise the limit,
/// make room for them.
TEST_F(SmallProblems, AreLeftToTheGeneralRoadAfterALimitOfSteps) {
    SmallProblem road;
    const Numbers c{-28.0, 5.0};
    const Numbers H{1.0, 0.0, 0.0, 1.0};
    const Numbers first{5.0, 5.0, 4.0, -7.0, 4.0, 0.0, 2.0};
    const Numbers second{9.0, -5.0, -10.0, 0.0, -7.0, 8.0, 6.0};
    const auto solveWith = [&](std::size_t m) {
        Numbers A(2 * m, 0.0);
        Numbers upper{2.0, 8.0, 2.0, 1.0, 2.0, 3.0, 0.0};
        upper.resize(m, 1.0);
        std::ranges::copy(first, A.begin());
        std::ranges::copy(second, A.begin() + static_cast<std::ptrdiff_t>(m));
        return solveSmall(road, {.H = {H, 2, 2}, .c = c, .A = {A, m, 2}, .rowUpper = upper});
    };
    EXPECT_FALSE(solveWith(7));
    const std::optional<Result> result = solveWith(64);
    ASSERT_TRUE(result);
    EXPECT_GT(result->iterations.dual, 6U);
}

}  // namespace
}  // namespace activeset::test
