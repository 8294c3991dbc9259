// The ends of ranges, compared with optima at each end and just beyond it.
#include "activeset/ranges.hpp"

#include <gmock/gmock.h>

#include <cmath>
#include <stdexcept>

#include "frontend/generator.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

class RangesOf : public FreshState {};

// A number of a problem, and the one that has to move with it.
struct Number {
    Numbers Sample::*part;
    std::vector<Range> Ranges::*ranges;
    Numbers Sample::*twin;
};

constexpr Number All[] = {{&Sample::c, &Ranges::c, &Sample::c},
                          {&Sample::rowLower, &Ranges::rowLower, &Sample::rowUpper},
                          {&Sample::rowUpper, &Ranges::rowUpper, &Sample::rowLower},
                          {&Sample::lower, &Ranges::lower, &Sample::upper},
                          {&Sample::upper, &Ranges::upper, &Sample::lower}};

Result solvedAt(Sample s, const Number& number, std::size_t k, double value) {
    const bool isEqual = (s.*number.part)[k] == (s.*number.twin)[k];
    (s.*number.part)[k] = value;
    (s.*number.twin)[k] = isEqual ? value : (s.*number.twin)[k];
    return solve(s.view());
}

// The end of a range; where two sides meet there, rounding must not let them cross.
double uncrossed(const Sample& s, const Number& number, std::size_t k, double end) {
    const double twin = (s.*number.twin)[k];
    const bool isLower = number.part == &Sample::rowLower || number.part == &Sample::lower;
    const bool isUpper = number.part == &Sample::rowUpper || number.part == &Sample::upper;
    if ((s.*number.part)[k] == twin ||
        std::abs(end - twin) > 1e-12 * std::max(1.0, std::abs(end))) {
        return end;
    }
    return isLower ? std::min(end, twin) : isUpper ? std::max(end, twin) : end;
}

// Strictly convex problems in general position. Inside a range the working set does not change, and
// the objective at its end is that of an optimum. Outside the working set is different.
TEST_F(RangesOf, NumbersEndWhereTheWorkingSetChanges) {
    int ends = 0;
    for (unsigned seed = 1; seed < 120; seed += 2) {
        const Sample s = randomSample(seed, 5, false);
        const Result r = solve(s.view());
        ASSERT_TRUE(r);
        const Ranges all = ranges(r, s.view());
        if (!all.weakRows.empty() || !all.weakBounds.empty()) {
            continue;
        }
        for (const Number& number : All) {
            for (std::size_t k = 0; k < (s.*number.part).size(); ++k) {
                const Range range = (all.*number.ranges)[k];
                if (range.isDegenerate) {
                    continue;
                }
                SCOPED_TRACE(testing::Message()
                             << "seed " << seed << " part " << &number - All << " entry " << k);
                for (const bool isMost : {false, true}) {
                    const double end = isMost ? range.most : range.least;
                    const double side = std::isfinite(range.value) ? range.value
                                        : isMost                   ? range.least
                                                                   : range.most;
                    if (!std::isfinite(end) || end == side) {
                        continue;
                    }
                    ++ends;
                    const double step = 1e-6 * std::max(1.0, std::abs(end)) * (isMost ? 1.0 : -1.0);
                    const Result before = solvedAt(s, number, k, end - step);
                    const Result atEnd = solvedAt(s, number, k, uncrossed(s, number, k, end));
                    const Result behind = solvedAt(s, number, k, end + step);
                    ASSERT_TRUE(before);
                    EXPECT_EQ(before.workingSet, r.workingSet);
                    // Where feasibility ends, rounding decides whether a point exists.
                    ASSERT_TRUE(atEnd || !behind);
                    if (!atEnd) {
                        continue;
                    }
                    EXPECT_NEAR(isMost ? range.objectiveAtMost : range.objectiveAtLeast,
                                atEnd.objective, 1e-9 * std::max(1.0, std::abs(atEnd.objective)));
                    EXPECT_FALSE(behind && behind.workingSet == r.workingSet);
                }
            }
        }
    }
    EXPECT_GT(ends, 300);
}

// max 3x + 2y, x + y ≤ 4, x + 3y ≤ 6, x, y ≥ 0: x = 4, y = 0, and the second row has slack 2.
TEST_F(RangesOf, ALinearProgramAreThoseOfTheTextbook) {
    const double c[] = {-3, -2}, A[] = {1, 1, 1, 3}, upper[] = {4, 6}, lower[] = {0, 0};
    const Problem problem{.c = c, .A = {A, 2, 2}, .rowUpper = upper, .lower = lower};
    const Result r = solve(problem);
    ASSERT_TRUE(r);
    const Ranges all = ranges(r, problem);
    EXPECT_EQ(all.c[0].least, -Infinity);
    EXPECT_EQ(all.c[0].most, -2.0);
    EXPECT_EQ(all.c[0].objectiveAtMost, -8.0);
    EXPECT_EQ(all.c[1].least, -3.0);
    EXPECT_EQ(all.rowUpper[0].least, 0.0);
    EXPECT_EQ(all.rowUpper[0].most, 6.0);
    EXPECT_EQ(all.rowUpper[0].objectiveAtMost, -18.0);
    EXPECT_EQ(all.rowUpper[1].least, 4.0);
    EXPECT_EQ(all.rowUpper[1].most, Infinity);
    EXPECT_EQ(all.lower[0].most, 4.0);
    EXPECT_EQ(all.lower[1].most, 1.0);
    EXPECT_EQ(all.lower[1].objectiveAtMost, -11.0);
}

// min ½x² − x, x ≤ 1: the bound holds with multiplier 0.
TEST_F(RangesOf, NumbersAtAWeakSideAreDegenerate) {
    const double H[] = {1.0}, c[] = {-1.0}, upper[] = {1.0};
    const Problem problem{.H = {H, 1, 1}, .c = c, .upper = upper};
    Result r = solve(problem);
    ASSERT_TRUE(r);
    const Ranges all = ranges(r, problem);
    EXPECT_EQ(all.weakBounds, std::vector<std::size_t>{0});
    EXPECT_TRUE(all.upper[0].isDegenerate);
    r.status = Status::Inaccurate;
    EXPECT_THROW(static_cast<void>(ranges(r, problem)), std::invalid_argument);
}

}  // namespace
}  // namespace activeset::test
