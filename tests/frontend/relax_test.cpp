// Nearest feasible points, and findings about data, compared with hand arithmetic.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "activeset/diagnose.hpp"
#include "activeset/relax.hpp"

namespace activeset {
namespace {

using Numbers = std::vector<double>;

/// The rows x ≤ 0 and x ≥ 3, and the bound x ≥ 0.
struct Gap {
    Numbers c{0};
    Numbers A{1, 1};
    Numbers rowLower{-Infinity, 3};
    Numbers rowUpper{0, Infinity};
    Numbers lower{0};
    Problem problem{
        .c = c, .A = {A, 2, 1}, .rowLower = rowLower, .rowUpper = rowUpper, .lower = lower};
};

TEST(Relaxing, MovesWhatWeighsLeast) {
    const Gap gap;
    const Numbers weights{2, 1};
    const auto pointOf = [&](Norm norm) {
        const Relaxation relaxation = relax(gap.problem, {.norm = norm, .rowWeights = weights});
        EXPECT_TRUE(relaxation);
        EXPECT_NEAR(relaxation.rowViolation[0], relaxation.x[0], 1e-12);
        EXPECT_NEAR(relaxation.rowViolation[1], relaxation.x[0] - 3, 1e-12);
        return relaxation;
    };
    EXPECT_NEAR(pointOf(Norm::L1).x[0], 0, 1e-9);
    EXPECT_NEAR(pointOf(Norm::L1).distance, 3, 1e-9);
    EXPECT_NEAR(pointOf(Norm::L2).x[0], 1, 1e-9);    // 2x = 3 − x
    EXPECT_NEAR(pointOf(Norm::LInf).x[0], 1, 1e-9);  // 2x = 3 − x, for the magnitudes
    EXPECT_NEAR(pointOf(Norm::L2).distance, 3, 1e-9);
}

TEST(Relaxing, KeepsWhatIsHardAndSaysWhatIsWrongWithWeights) {
    const Gap gap;
    const Numbers hard{Infinity, 1};
    EXPECT_NEAR(relax(gap.problem, {.rowWeights = hard}).rowViolation[1], -3, 1e-9);
    const Numbers allHard{Infinity, Infinity};
    EXPECT_EQ(relax(gap.problem, {.rowWeights = allHard}).status, Status::Infeasible);
    const Numbers negative{1, -1};
    const Relaxation refused = relax(gap.problem, {.rowWeights = negative});
    EXPECT_EQ(refused.status, Status::Invalid);
    EXPECT_EQ(refused.faults.at(0).text, "settings.rowWeights[1] is not a number from 0 up");
    EXPECT_EQ(relax(gap.problem, {.boundWeights = negative}).status, Status::Invalid);
}

// x ≤ 0 is soft, and x ≥ 3 is not.
TEST(Relaxing, LeavesOutWhatGivesWayAnyway) {
    Gap gap;
    const Numbers price{1, Infinity};
    gap.problem.rowPenalty.upperLinear = price;
    const Relaxation relaxation = relax(gap.problem);
    EXPECT_EQ(relaxation.distance, 0.0);
    EXPECT_THAT(relaxation.rowViolation, ::testing::ElementsAre(0.0, 0.0));
    const Numbers both{1, 1};
    const Numbers upper{-1};
    gap.problem.upper = upper;  // below the lower bound, which is soft
    gap.problem.boundPenalty.lowerLinear = {both.data(), 1};
    gap.problem.rowPenalty = {.lowerLinear = both};
    EXPECT_EQ(relax(gap.problem, {.boundWeights = {both.data(), 1}}).distance, 0.0);
}

// Equal sides with a price are no equality; the last row has no upper side.
TEST(Diagnosing, KnowsWhichSidesAreSoft) {
    const Numbers c{1};
    const Numbers A{1, 2, 3};
    const Numbers rowLower{1, 2, 3};
    const Numbers rowUpper{1, 2, Infinity};
    const Numbers prices{Infinity, 5, 5};
    const Diagnosis diagnosis = diagnose({.c = c,
                                          .A = {A, 3, 1},
                                          .rowLower = rowLower,
                                          .rowUpper = rowUpper,
                                          .rowPenalty = {.upperLinear = prices}});
    EXPECT_EQ(diagnosis.equalities, 1U);
    ASSERT_FALSE(diagnosis.findings.empty());
    EXPECT_EQ(diagnosis.findings[0].name, "row penalties without sides");
    EXPECT_THAT(diagnosis.findings[0].members, ::testing::ElementsAre(2));
}

TEST(Diagnosing, FindsWhatASolveWouldNotice) {
    const Numbers H{2, 1, 0, 1, 3, 0, 0, 0, 0};
    const Numbers c{0, 1e10, 0};
    // x + y = 1, 2x + 2y = 2, nothing, x ≤ ∞
    const Numbers A{1, 2, 0, 1, 1, 2, 0, 0, 0, 0, 0, 0};
    const Numbers rowLower{1, 2, -1, -Infinity};
    const Numbers rowUpper{1, 2, 1, Infinity};
    const Numbers lower{-Infinity, 0, 1e9};
    const Numbers upper{Infinity, 0, Infinity};
    const Diagnosis diagnosis = diagnose({.H = {H, 3, 3},
                                          .c = c,
                                          .A = {A, 4, 3},
                                          .rowLower = rowLower,
                                          .rowUpper = rowUpper,
                                          .lower = lower,
                                          .upper = upper});
    EXPECT_EQ(diagnosis.equalities, 2U);
    EXPECT_EQ(diagnosis.equalityRank, 1U);
    EXPECT_EQ(diagnosis.largestEigenvalue[0], 3);
    EXPECT_EQ(diagnosis.largestEigenvalue[1], 4);
    EXPECT_EQ(diagnosis.freeVariables, 1U);
    EXPECT_EQ(diagnosis.fixedVariables, 1U);
    std::vector<std::string> found;
    for (const Finding& finding : diagnosis.findings) {
        found.push_back(finding.name + (finding.members.empty()
                                            ? ""
                                            : " " + std::to_string(finding.members.front())));
    }
    EXPECT_THAT(found,
                ::testing::ElementsAre("empty rows 2", "rows without sides 3", "duplicate rows 1",
                                       "dependent equalities 1", "big bounds 2",
                                       "unused variables 2", "wide range of coefficients"));
    EXPECT_FALSE(diagnose({.H = {H, 3, 2}}).faults.empty());
}

}  // namespace
}  // namespace activeset
