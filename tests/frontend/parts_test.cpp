// The parts of the front end, each on a problem whose answer is computed by hand.
#include <gmock/gmock.h>

#include "activeset/one_sided.hpp"
#include "frontend/core/core_form.hpp"
#include "frontend/core/cycle_detector.hpp"
#include "frontend/loop/caller_proofs.hpp"
#include "frontend/loop/refinement.hpp"
#include "frontend/nearest_point.hpp"
#include "frontend/problem/scaling.hpp"
#include "frontend/proof/convexity.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

using frontend::ProblemData;
using frontend::Vector;
using ::testing::ElementsAre;

class Parts : public FreshState {};

// −1 ≤ x₁ + 2x₂ ≤ 3, 3x₁ − x₂ = 4, x₁ = 0, x₂ ≤ 5.
ProblemData fourKinds() {
    ProblemData data;
    data.n = 2;
    data.m = 2;
    data.c = {0, 0};
    data.A.change() = {1, 3, 2, -1};
    data.rowLower = {-1, 4};
    data.rowUpper = {3, 4};
    data.lower = {0, -Infinity};
    data.upper = {0, 5};
    return data;
}

TEST_F(Parts, CoreFormHasOneRowForEachFiniteSide) {
    const frontend::CoreForm form(fourKinds());
    EXPECT_THAT(form.A, ElementsAre(1, -1, 2, -2));
    EXPECT_THAT(form.b, ElementsAre(3, 1));
    EXPECT_THAT(form.Aeq, ElementsAre(3, 1, -1, 0));  // the row, then x₁ = 0
    EXPECT_THAT(form.beq, ElementsAre(4, 0));
    EXPECT_THAT(form.lb, ElementsAre(-Infinity, -Infinity));
    EXPECT_THAT(form.ub, ElementsAre(Infinity, 5));
}

// x₁ = 2, a row without sides, −1 ≤ x₁ + x₂, 0 ≤ x₂ ≤ 1, of a matrix that is stored by rows.
TEST_F(Parts, RowsWithOneSideNameTheSidesTheyStandFor) {
    const Vector A{1, 0, 5, 5, 1, 1, 0, 1};
    const Vector lower{2, -Infinity, -1, 0};
    const Vector upper{2, Infinity, 1e20, 1};
    Problem problem;
    problem.A = MatrixView(A, 4, 2, Order::RowMajor);
    problem.rowLower = lower;
    problem.rowUpper = upper;
    const OneSidedRows rows = oneSidedRows(problem);
    EXPECT_THAT(rows.A, ElementsAre(-1, 0, 0, -1, 1, -1));
    EXPECT_FALSE(std::signbit(rows.A[2]));
    EXPECT_THAT(rows.b, ElementsAre(1, 1, 0));
    EXPECT_THAT(rows.Aeq, ElementsAre(1, 0));
    EXPECT_THAT(rows.beq, ElementsAre(2));
    EXPECT_THAT(rows.equalities, ElementsAre(0));
    ASSERT_EQ(rows.inequalities.size(), 3U);
    EXPECT_EQ(rows.inequalities[1].row, 3U);
    EXPECT_TRUE(rows.inequalities[1].isUpper);
    EXPECT_FALSE(rows.inequalities[2].isUpper);

    problem.rowLower = VectorView(lower.data(), 3);
    const OneSidedRows faulty = oneSidedRows(problem);
    EXPECT_EQ(faulty.faults.size(), 1U);
    EXPECT_TRUE(faulty.A.empty());
}

TEST_F(Parts, CoreFormTakesWorkingSetsAndMultipliersBothWays) {
    const ProblemData data = fourKinds();
    frontend::CoreForm form(data);
    WorkingSet set;
    set.equalities = {1};
    set.rowsAtLower = {0};
    set.fixed = {0};
    set.atUpper = {1};
    const frontend::CoreSet core = form.toCore(frontend::Constraints(data, set));
    EXPECT_THAT(core.inequalities, ElementsAre(1));
    EXPECT_THAT(core.lower, ElementsAre());
    EXPECT_THAT(core.upper, ElementsAre(1));
    EXPECT_EQ(form.fromCore(data, core, {}).workingSet(), set);
    set.equalities.clear();
    EXPECT_EQ(form.fromCore(data, core, {0}).workingSet(),
              set);  // without the dependent equality

    const Vector lambda{10, 20, 1, 2, 0, 0, 0, 7};  // Aeq, A, lower bounds, upper bounds
    Vector y, z;
    form.multipliers(lambda.data(), y, z);
    EXPECT_THAT(y, ElementsAre(-1, 10));
    EXPECT_THAT(z, ElementsAre(20, 7));

    ProblemData other = fourKinds();
    other.rowUpper[0] = 8;
    EXPECT_TRUE(form.updateSides(other));
    EXPECT_THAT(form.b, ElementsAre(8, 1));
    other.rowUpper[0] = -1;  // an equality now
    EXPECT_FALSE(form.updateSides(other));
    EXPECT_THAT(form.b, ElementsAre(8, 1));
}

TEST_F(Parts, ConstraintsTakeWhatExistsOfAWorkingSet) {
    const ProblemData data = fourKinds();
    WorkingSet set;
    set.rowsAtLower = {0, 7};  // there is no row 7
    set.atLower = {1};         // and x₂ has no lower bound
    set.fixed = {0};
    const auto named = frontend::Constraints::namedBy(data, set);
    EXPECT_THAT(named.members(), ElementsAre(0, 2));
    EXPECT_THAT(named.targets(), ElementsAre(-1, 0));
    EXPECT_EQ(named.sign(0), -1.0);
    set.rowsAtLower = {0};
    set.atLower.clear();
    EXPECT_EQ(named.workingSet(), set);
    const frontend::Constraints all(data, set);
    EXPECT_THAT(all.members(), ElementsAre(0, 1, 2));  // the equality is a member even if not named
    WorkingSet beyond;
    beyond.equalities = beyond.rowsAtUpper = beyond.atUpper = {2};  // one past the last
    EXPECT_THAT(frontend::Constraints::namedBy(data, beyond).members(), ElementsAre());
}

TEST_F(Parts, FarSidesBecomeAbsentOnTheirOwnSide) {
    ProblemData data = fourKinds();
    const Vector x = {1, -1};
    frontend::magnifySides(data, frontend::rowValues(data, x), x, 0x1p100);
    EXPECT_THAT(data.lower, ElementsAre(-Infinity, -Infinity));  // the first was 0
    EXPECT_THAT(data.upper, ElementsAre(Infinity, Infinity));
    EXPECT_THAT(data.rowLower, ElementsAre(0, 0));  // x is on both
}

TEST_F(Parts, EntriesThatAreLentAreCopiedToChangeOrToLast) {
    Vector values{1.0, -4.0, -4.0, 3.0};
    auto lent = frontend::MatrixEntries::lent(values.data(), values.size());
    lent.tellLargest({4.0, 4.0});
    const frontend::MatrixEntries copy = lent;
    values[0] = 7.0;
    EXPECT_EQ(lent[0], 7.0);
    EXPECT_EQ(copy[0], 1.0);
    EXPECT_EQ(copy.largest(), 4.0);
    lent.change()[1] = 5.0;
    EXPECT_EQ(values[1], -4.0);
    EXPECT_EQ(lent[1], 5.0);
    EXPECT_EQ(lent.largest(), 7.0);
}

TEST_F(Parts, RefinementSolvesTheEquationsOfItsSet) {
    ProblemData data;
    data.n = 2;
    data.m = 1;
    data.quadratic = true;
    data.H.change() = {1, 0, 0, 1};
    data.c = {-2, 0};
    data.A.change() = {1, 1};
    data.rowLower = data.rowUpper = {1};
    data.lower = {-Infinity, -Infinity};
    data.upper = {Infinity, Infinity};
    WorkingSet set;
    set.equalities = {0};
    frontend::Point point{{9, 9}, {9}, {9, 9}};
    EXPECT_GE(frontend::Refinement(data, set).apply(point, 20), 1U);
    EXPECT_THAT(point.x, ElementsAre(1.5, -0.5));  // x₁ − 2 + y = 0, x₂ + y = 0, x₁ + x₂ = 1
    EXPECT_THAT(point.y, ElementsAre(0.5));
    EXPECT_THAT(point.z, ElementsAre(0, 0));

    data.H.change() = {1, 0, 0, 0};
    point = {{5, 7}, {0}, {0, 0}};
    EXPECT_EQ(frontend::Refinement(data, {}).apply(point, 20), 1U);
    EXPECT_THAT(point.x, ElementsAre(2, 7));  // no slope along x₂, so it stays

    data.lower[1] = 3;
    set = {};
    set.atLower = {1};
    data.c[1] = 4;
    static_cast<void>(frontend::Refinement(data, set).apply(point, 20));
    EXPECT_THAT(point.x, ElementsAre(2, 3));
    EXPECT_THAT(point.z, ElementsAre(0, -4));
}

TEST_F(Parts, ScalingChangesNoDigitAndNoObjective) {
    ProblemData data = fourKinds();
    data.quadratic = true;
    data.H.change() = {0x1p40, 0x1p20, 0x1p20, 3};
    data.c = {0x3p20, -7};
    data.A.change() = {0x1p-30, 0x3p10, 0x5p-20, 0x1p4};
    const frontend::Scaling scaling = frontend::Scaling::of(data);
    const ProblemData scaled = scaling.apply(data);
    const double first = scaling.column[0], second = scaling.column[1];
    EXPECT_EQ(scaled.H[1], 0x1p20 * first * second * scaling.objective);
    EXPECT_EQ(scaled.H[1], scaled.H[2]);
    EXPECT_EQ(scaled.A[3], 0x1p4 * second * scaling.row[1]);
    EXPECT_EQ(scaled.rowLower[1], 4 * scaling.row[1]);
    EXPECT_EQ(scaled.upper[1], 5 / second);
    for (const double entry : {scaled.H[0] / scaling.objective, scaled.A[2]}) {
        EXPECT_THAT(std::abs(entry), ::testing::AllOf(::testing::Ge(0x1p-3), ::testing::Le(0x1p3)));
    }
    const frontend::Point point{{0.3, -7}, {1.1, 0}, {-0.7, 2}};
    const frontend::Point back = scaling.unscaled(scaling.scaled(point));
    EXPECT_EQ(back.x, point.x);
    EXPECT_EQ(back.y, point.y);
    EXPECT_EQ(back.z, point.z);
}

TEST_F(Parts, MatricesThatNeedNoFactorStayWhereTheyAre) {
    ProblemData data;
    data.n = 2;
    data.m = 1;
    data.quadratic = true;
    data.H.change() = {1.0, 0.5, 0.5, 2.0};
    data.A.change() = {1.0, -1.5};
    frontend::complete(data);
    for (const double cost : {0.0, 12.0}) {
        data.c = {cost, 1.0};
        const ProblemData scaled = frontend::Scaling::of(data).apply(data);
        EXPECT_EQ(scaled.H.data(), data.H.data());
        EXPECT_EQ(scaled.A.data(), data.A.data());
        EXPECT_EQ(scaled.c, data.c);
    }
    data.c = {40.0, 1.0};
    const ProblemData scaled = frontend::Scaling::of(data).apply(data);
    EXPECT_EQ(scaled.H[0], 1.0 / 32.0);
    EXPECT_EQ(scaled.c[0], 40.0 / 32.0);
    EXPECT_EQ(scaled.A.data(), data.A.data());
}

TEST_F(Parts, CyclesAreSetsThatReturnOrMinimaAtOnePoint) {
    frontend::CycleDetector returns;
    const std::vector<std::size_t> set{2, 9}, permuted{9, 2}, other{2, 8};
    for (int minimum = 0; minimum < 3; ++minimum) {
        const double x = minimum;
        EXPECT_FALSE(returns.hasReturned(set.data(), 2, &x, 1));
        EXPECT_FALSE(returns.hasReturned(other.data(), 2, &x, 1));
    }
    const double elsewhere = 9;
    EXPECT_TRUE(returns.hasReturned(permuted.data(), 2, &elsewhere, 1));
    returns.restart();
    EXPECT_FALSE(returns.hasReturned(set.data(), 2, &elsewhere, 1));

    frontend::CycleDetector stalls;
    std::size_t member = 0;
    const Vector point{1, 2};
    while (!stalls.hasReturned(&member, 1, point.data(), 2)) {
        ++member;
    }
    EXPECT_EQ(member, 24U);  // more than 20 + 2n minima at one point
}

// Negative curvature counts beyond the rounding of ‖H‖·‖d‖², and along directions on which the
// equalities stay: the second equality here leaves a factorisation as one that depends on the
// first.
TEST_F(Parts, NotConvexIsCheckedAgainAlongItsDirection) {
    ProblemData data;
    data.n = 2;
    data.quadratic = true;
    data.c = {0, 0};
    data.lower = {-Infinity, -Infinity};
    data.upper = {Infinity, Infinity};
    data.H.change() = {1, 0, 0, -1e-11};
    EXPECT_EQ(frontend::convexityOf(data).kind, frontend::Convexity::None);
    data.H.change() = {1, 0, 0, -1e-13};
    EXPECT_EQ(frontend::convexityOf(data).kind, frontend::Convexity::Semidefinite);
    data.H.change() = {1, 0, 0, -2};
    data.m = 2;
    data.A.change() = {1, 1, 1, 1 + 8e-12};
    data.rowLower = data.rowUpper = {0, 0};
    EXPECT_EQ(frontend::convexityOf(data).kind, frontend::Convexity::Semidefinite);
    data.A.change() = {1, 1, 1, 1};
    EXPECT_EQ(frontend::convexityOf(data).kind, frontend::Convexity::None);
}

// x₁ ≤ 0 and x₁ + εx₂ ≥ 1: nothing near the origin, but all x₂ from 1/ε on.
TEST_F(Parts, AFeasiblePointFarOutRefutesAContradiction) {
    constexpr double Far = 2e10;
    ProblemData data;
    data.n = 2;
    data.m = 2;
    data.c = {0, 0};
    data.A.change() = {1, 1, 0, 1e-10};
    data.rowLower = {-Infinity, 1};
    data.rowUpper = {0, Infinity};
    data.lower = {-Infinity, -Infinity};
    data.upper = {Infinity, Infinity};
    frontend::ProblemCache cache(data);
    const Settings settings;
    frontend::Control control(settings, 100);
    frontend::BestPoint best(cache, settings, control);
    const Vector y = cache.scaling.scaled({{}, {1, -1}, {}}).y;
    const auto farkas = frontend::provenFarkas(cache, y, best);
    ASSERT_TRUE(farkas);
    EXPECT_LT(farkas->radius, Far);
    best.considerWithoutMultipliers(cache.scaling.scaled({{0, Far}, {}, {}}).x);
    EXPECT_FALSE(frontend::provenFarkas(cache, y, best));
}

}  // namespace
}  // namespace activeset::test
