// What the way to an answer promises; every way leads to the same answer.
#include "frontend/generator.hpp"
#include "support/choices.hpp"
#include "support/exact/judge.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

class WaysToAnswers : public FreshState {
protected:
    static bool hasUsedTheCore(const Result& r) {
        return r.iterations.phaseOne + r.iterations.main > 0;
    }
};

// For strictly convex problems, feasible or not, the dual method needs no other method.
TEST_F(WaysToAnswers, PredictionsProveOptimaAndContradictionsAlone) {
    std::size_t optima = 0;
    std::size_t contradictions = 0;
    for (unsigned seed = 0; seed < 300; ++seed) {
        Sample s = randomSample(seed, 12, false);
        const Result optimum = solve(s.view(), {.startMode = Start::Predict});
        optima += std::size_t{optimum.status == Status::Optimal && !hasUsedTheCore(optimum)};
        // A row forces a variable beyond one of its bounds, in either direction.
        const bool isAbove = seed % 2 == 0;
        Numbers A;
        for (std::size_t j = 0; j < s.n; ++j) {
            const auto column = s.A.begin() + static_cast<std::ptrdiff_t>(j * s.m);
            A.insert(A.end(), column, column + static_cast<std::ptrdiff_t>(s.m));
            A.push_back(j == 0 ? 2.0 : 1.0);
        }
        s.A = A;
        ++s.m;
        s.lower.assign(s.n, -1.0);
        s.upper.assign(s.n, 1.0);
        const auto beyond = static_cast<double>(s.n) + 2.0;
        s.rowLower.push_back(isAbove ? beyond : -Infinity);
        s.rowUpper.push_back(isAbove ? Infinity : -beyond);
        const Result none = solve(s.view(), {.startMode = Start::Predict});
        ASSERT_EQ(none.status, Status::Infeasible) << "seed " << seed;
        EXPECT_EQ(exact::falseClaim(s, none), "");
        contradictions += std::size_t{!hasUsedTheCore(none)};
    }
    EXPECT_GE(optima, 290U);
    EXPECT_GE(contradictions, 290U);
}

// An index just past the last row names no constraint, in particular not the first bound. The same
// holds past the last variable. Both act like any other index that does not exist.
TEST_F(WaysToAnswers, WarmStartsNameNothingBehindTheLastConstraint) {
    for (unsigned seed = 0; seed < 100; ++seed) {
        Sample s = randomSample(seed, 8, false);
        for (std::size_t j = 0; j < s.n; ++j) {
            s.lower[j] = std::min(s.lower[j], -1.0);
            s.upper[j] = std::max(s.upper[j], 1.0);
        }
        const auto solveFrom = [&](std::size_t beyond) {
            const WarmStart warm{Numbers(s.n),
                                 {.rowsAtLower = {s.m + beyond},
                                  .rowsAtUpper = {s.m + s.n + beyond},
                                  .atLower = {s.n + beyond},
                                  .atUpper = {s.n + beyond}}};
            Problem problem = s.view();
            problem.warmStart = &warm;
            return solve(problem);
        };
        const Result next = solveFrom(0);
        const Result far = solveFrom(1000);
        EXPECT_EQ(next.x, far.x) << "seed " << seed;
        EXPECT_EQ(next.iterations.prediction, far.iterations.prediction) << "seed " << seed;
        EXPECT_EQ(next.iterations.dual, far.iterations.dual) << "seed " << seed;
        EXPECT_EQ(next.iterations.refinement, far.iterations.refinement) << "seed " << seed;
    }
}

// Two parallel equations that differ by 1e-7. Far along a descent direction both seem to hold
// relative to the size of x.
TEST_F(WaysToAnswers, RaysNeedAFeasiblePoint) {
    for (std::uint64_t seed = 1; seed <= 400; ++seed) {
        SeededChoices choices(seed);
        Sample s;
        s.n = choices.between(2, 4);
        s.m = 2;
        const double factor = choices.oneIn(2) ? -2.0 : 4.0;
        for (std::size_t j = 0; j < s.n; ++j) {
            s.A.push_back(choices.integer(3));
            s.A.push_back(factor * s.A.back());
        }
        s.c = choices.integers(s.n, 9);
        const double side = choices.integer(3);
        s.rowLower = s.rowUpper = {side, factor * (side + 1e-7)};
        s.lower.assign(s.n, -Infinity);
        s.upper.assign(s.n, Infinity);
        const Result r = solve(s.view());
        EXPECT_EQ(r.status, Status::Infeasible) << "seed " << seed << '\n' << exact::textOf(s);
    }
}

// Two equations that meet only at (2ᵏ, 2ᵏ). The multipliers 1 and −1 nearly show a contradiction,
// and show that no point near the origin is feasible.
TEST_F(WaysToAnswers, APointThatIsFeasibleRefutesAFarkasVector) {
    for (const int k : {32, 34, 36}) {
        const double far = std::exp2(k);
        const Numbers sides{0.0, -1.0};
        const Result r = solve({.H = {Numbers{1, -1, -1, 1}, 2, 2},
                                .c = Numbers{1.0, -2.0},
                                .A = {Numbers{1.0, 1.0, -1.0, -1.0 - 1.0 / far}, 2, 2},
                                .rowLower = sides,
                                .rowUpper = sides});
        EXPECT_EQ(r.status, Status::Optimal) << k;
        ASSERT_EQ(r.x.size(), 2U);
        EXPECT_NEAR(r.x[0] / far, 1.0, 1e-6) << k;
    }
}

// The core's multipliers of bounds are as accurate as those of rows: both need about the same
// number of corrections in extended precision.
TEST_F(WaysToAnswers, MultipliersOfBoundsNeedNoMoreCorrectionsThanThoseOfRows) {
    std::size_t asBounds = 0;
    std::size_t asRows = 0;
    for (unsigned seed = 0; seed < 300; ++seed) {
        Sample s = randomSample(seed, 8, false);
        s.m = 0;
        s.A.clear();
        s.rowLower.clear();
        s.rowUpper.clear();
        asBounds += solve(s.view(), {.startMode = Start::Cold}).iterations.refinement;
        s.m = s.n;
        s.A.assign(s.n * s.n, 0.0);
        for (std::size_t j = 0; j < s.n; ++j) {
            s.A[j * (s.n + 1)] = 1.0;
        }
        std::swap(s.rowLower, s.lower);
        std::swap(s.rowUpper, s.upper);
        asRows += solve(s.view(), {.startMode = Start::Cold}).iterations.refinement;
    }
    EXPECT_LE(asBounds, asRows + 60);
}

// (x₁ − x₂)² + (x₂ + x₃ − 2)² + (x₄ − 1)² + (x₅ − 1)² is zero at (1, 1, 1, 1, 1), where the rows
// have multipliers of zero. Each correction takes sixteen decimals off what rounding makes of them.
TEST_F(WaysToAnswers, MultipliersThatVanishAreNotCorrectedUntilTheyUnderflow) {
    const Sample s{5,
                   3,
                   {2, -2, 0, 0, 0, -2, 4, 2, 0, 0, 0, 2, 2, 0, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0, 2},
                   {0, -4, -4, -2, -2},
                   {1, 0, 0, 3, 0, 1, 0, 1, 0, 0, 1, 0, 0, -2, -1},
                   {4, 0, 0},
                   {4, 0, 0},
                   {},
                   {},
                   {}};
    const Result r = solve(s.view());
    ASSERT_EQ(r.status, Status::Optimal);
    EXPECT_NEAR(r.objective, -6.0, 1e-14);
    EXPECT_LE(r.iterations.refinement, 10U);
}

// 2x₁² − 5x₁ − 3x₂ − 6x₃ in units from 2⁻⁵⁰⁰ to 2⁵⁰⁰ has its minimum −12793/729 at (31, 64, 33)/27,
// where all rows hold. Only x₁ has curvature, the others have none to be measured by.
TEST_F(WaysToAnswers, TheUnitOfTheObjectiveMayBeAny) {
    for (const int k : {-500, -300, 0, 332, 500}) {
        const double unit = std::exp2(k);
        const Sample s{3,
                       3,
                       {4 * unit, 0, 0, 0, 0, 0, 0, 0, 0},
                       {-5 * unit, -3 * unit, -6 * unit},
                       {-2, 5, 0, -1, -2, 3, 3, 0, 4},
                       {-Infinity, -Infinity, -Infinity},
                       {-1, 1, 12},
                       {-Infinity, -2, -Infinity},
                       {},
                       {}};
        const Result r = solve(s.view());
        EXPECT_EQ(r.status, Status::Optimal) << k;
        EXPECT_NEAR(r.objective / unit, -12793.0 / 729.0, 1e-13) << k;
        ASSERT_EQ(r.x.size(), 3U);
        EXPECT_NEAR(r.x[2], 33.0 / 27.0, 1e-14) << k;
    }
}

// −5x₁ ≤ 7 beside variables of 3·10³⁰: a step that is tiny beside these is none for x₁.
TEST_F(WaysToAnswers, VariablesBesideFarLargerOnesMeetTheirSides) {
    const Sample s{3,
                   1,
                   {22, -6, 8, -6, 4, -4, 8, -4, 5},
                   {-1e30, 0, -3.0000000000000003e30},
                   {-5, 0, 0},
                   {-Infinity},
                   {7},
                   {},
                   {},
                   {}};
    const Result r = solve(s.view());
    ASSERT_EQ(r.status, Status::Optimal);
    EXPECT_LE(-5.0 * r.x[0], 7.0 * (1.0 + 1e-9));
}

}  // namespace
}  // namespace activeset::test
