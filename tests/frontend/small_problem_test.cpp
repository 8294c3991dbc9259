// The method for small problems gives the answers of the general method, or none.
#include <map>

#include "frontend/small_road.hpp"

namespace activeset::test {
namespace {

class SmallProblems : public FreshState {};

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
            sample.c.push_back(seed % 2 == 0 ? std::generate_canonical<double, 53>(random)
                                             : static_cast<double>(random() % 4));
        }
        const std::optional<Result> small = solveSmall(solver, sample.view());
        ASSERT_TRUE(small);
        EXPECT_EQ(exact::falseClaim(sample, *small), "");
        if (seed % 2 == 0) {  // else the minimum may be a face
            EXPECT_EQ(small->certificate.primal.absolute, 0.0);
        }
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

/// Two equalities differ by 10⁻⁷ in x₂ and by 10⁻¹⁶ along the first of them: rounded, the second
/// one lets go a whole unit of x₁.
TEST_F(SmallProblems, SeeThatNearlyParallelEqualitiesLeaveOnePoint) {
    constexpr double e = 0x1p-30;
    const Numbers H{1.0, 2.0, 2.0, 8.0};
    const Numbers c{-7.0, 8.0};
    const Numbers rows{e, e, 1.0, 1.0 + 0x1p-23};
    const Numbers sides{2.0 - e, 2.0 + 0x1p-22 - e};
    const Numbers lower{-4.0, -Infinity};
    const Numbers upper{0.0, 3.0};
    const Result result = solve({.H = {H, 2, 2},
                                 .c = c,
                                 .A = {rows, 2, 2},
                                 .rowLower = sides,
                                 .rowUpper = sides,
                                 .lower = lower,
                                 .upper = upper});
    ASSERT_EQ(result.status, Status::Optimal);
    EXPECT_EQ(result.x, (Numbers{-1.0, 2.0}));
    EXPECT_EQ(result.objective, 35.5);
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

/// The dual method takes some 3000 steps here.
TEST_F(SmallProblems, KeepTheirDigitsOnTheWay) {
    constexpr std::size_t N = 200;
    constexpr std::size_t M = 400;
    std::mt19937_64 random(1);
    std::normal_distribution<double> number;
    Numbers A(M * N);
    Numbers c(N);
    std::ranges::generate(A, [&] { return number(random); });
    std::ranges::generate(c, [&] { return number(random); });
    Numbers upper(M, 2.0);  // beyond the values of a point
    for (std::size_t k = 0; k < M * N; ++k) {
        upper[k % M] += k / M % 2 == 0 ? 2.5 * A[k] : 0.0;
    }
    const Numbers box(N, 10.0);
    const Numbers none(N, 0.0);
    SmallProblem solver;
    EXPECT_TRUE(solveSmall(
        solver, {.c = c, .A = {A, M, N}, .rowUpper = upper, .lower = none, .upper = box}));
}

}  // namespace
}  // namespace activeset::test
