// The residuals that the summary shows, for results that are right and for results that are wrong.
#include "cli/verdict.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "cli/strict_report.hpp"
#include "io/reader.hpp"

namespace activeset::cli::tests {
namespace {

const std::vector<double> X = {2, 1, 0};
const std::vector<double> Lambda = {2, /* row */ 0, /* lower */ 0, 0, 2, /* upper */ 0, 0, 0};

/// min ½(x − 4)² + ½(y − 1)² subject to x + z = 2, the row y ≥ 0 and the bounds −1 ≤ y ≤ 1.5 and z
/// ≥ 0; x is free. The result is its optimum. The gradient there is (−2, 0, 0), so λeq = 2, and the
/// bound of z has the multiplier 2.
struct Solved {
    StrictProblem problem{io::readModelText(
        "ROWS\n N cost\n E sum\n G row\n"
        "COLUMNS\n x cost -4 sum 1\n y cost -1 row 1\n z sum 1\nRHS\n b cost -8.5 sum 2\n"
        "BOUNDS\n FR b x\n LO b y -1\n UP b y 1.5\nQUADOBJ\n x x 1\n y y 1\nENDATA\n",
        "t",
        io::Format::Mps)};
    SolveResult result{.code = 1, .x = X, .objective = -6.5, .lambda = Lambda};

    [[nodiscard]] Verdict verdict() const { return judge(problem, result, {}); }
};

TEST(Verdicts, SupportAnOptimumAndTakeTheConstantIn) {
    const Verdict verdict = Solved().verdict();

    EXPECT_TRUE(verdict.supports());
    EXPECT_EQ(verdict.objective.value, 2.0);
    EXPECT_EQ(verdict.primal.value + verdict.dual.value + verdict.complementarity.value, 0.0);
}

TEST(Verdicts, FindEveryFlawOfAnAllegedOptimum) {
    struct Flaw {
        JudgedResidual Verdict::*residual;
        double value;
        std::vector<double> x;
        std::vector<double> lambda;
        double objective = -6.5;
    };
    const std::vector<Flaw> flaws{
        {&Verdict::primal, 0.25, {2.25, 1, 0}, Lambda},
        {&Verdict::primal, 0.125, {2, -0.125, 0}, Lambda},
        {&Verdict::primal, 0.5, {2.5, 1, -0.5}, Lambda},
        {&Verdict::primal, 0.25, {2, 1.75, 0}, Lambda},
        // The opposite sign for the equality; then a missing multiplier.
        {&Verdict::dual, 4, X, {-2, 0, 0, 0, 2, 0, 0, 0}},
        {&Verdict::dual, 2, X, {2, 0, 0, 0, 0, 0, 0, 0}},
        // The gradient is balanced: −3 on the row −y ≤ 0 and 3 on the lower bound of y.
        {&Verdict::dual, 3, X, {2, -3, 0, 3, 2, 0, 0, 0}},
        // y is 1 away from the row and 0.5 below its upper bound.
        {&Verdict::complementarity, 3, X, {2, 3, 0, 0, 2, 0, 3, 0}},
        // The gradient is balanced, but x has no lower bound to which the multiplier could belong.
        {&Verdict::complementarity, 0.5, X, {2.5, 0, 0.5, 0, 2.5, 0, 0, 0}},
        {&Verdict::objective, 2, X, Lambda, -6.4}};
    for (const Flaw& flaw : flaws) {
        Solved solved;
        solved.result.x = flaw.x;
        solved.result.lambda = flaw.lambda;
        solved.result.objective = flaw.objective;
        const Verdict verdict = solved.verdict();
        const JudgedResidual residual = verdict.*flaw.residual;
        EXPECT_EQ(residual.value, flaw.value) << "flaw " << &flaw - flaws.data();
        EXPECT_FALSE(residual.supports) << "flaw " << &flaw - flaws.data();
        EXPECT_THAT(strictSummaryText(solved.problem, solved.result, verdict),
                    ::testing::HasSubstr("(does not support the outcome)\n"));
    }
}

TEST(Verdicts, NumbersThatAreNoneSupportNothing) {
    Solved solved;
    solved.result.x[1] = std::numeric_limits<double>::quiet_NaN();
    const Verdict verdict = solved.verdict();

    EXPECT_FALSE(verdict.primal.supports || verdict.dual.supports ||
                 verdict.complementarity.supports || verdict.objective.supports);
}

TEST(Verdicts, MeasureAgainstTheSizeOfTheTerms) {
    // One unit in the last place of 1e12, far above any absolute tolerance.
    Solved solved;
    solved.problem.rows.beq[0] = 1e12;
    solved.result.x = {1e12, 1, 0.000244140625};

    EXPECT_GT(solved.verdict().primal.value, 1e-4);
    EXPECT_TRUE(solved.verdict().primal.supports);
}

// A bound of 0 gives complementarity no scale. The product is measured as a part of the objective's
// gap.
TEST(Verdicts, MeasureComplementarityByTheObjective) {
    Solved solved;
    solved.problem.model.c = {-6.7e7, 0, 0};
    solved.problem.model.H.assign(9, 0.0);
    solved.problem.rows.beq[0] = 1 + 1e-13;
    solved.result = {.code = 1,
                     .x = {1, 1, 1e-13},
                     .objective = -6.7e7,
                     .lambda = {6.7e7, 0, 0, 0, 6.7e7, 0, 0, 0}};

    EXPECT_GT(solved.verdict().complementarity.value, 6e-6);
    EXPECT_TRUE(solved.verdict().supports());
    solved.result.lambda[4] = 0;  // the same product beside an objective of 0
    solved.problem.model.c[0] = 0;
    EXPECT_FALSE(solved.verdict().supports());
}

TEST(Verdicts, OfOtherOutcomesAreAboutThePointAlone) {
    Solved solved;
    solved.result.lambda.assign(8, 0.0);
    for (const double z : {0.0, -1.0}) {
        solved.result.x[2] = z;
        for (const int code : {0, -1, -4, 2, 3, 4, -2, -3}) {
            solved.result.code = code;
            const bool infeasible = code == -2 || code == -3;
            EXPECT_EQ(solved.verdict().supports(), infeasible == (z < 0)) << code << " at " << z;
        }
    }
}

TEST(Verdicts, AnInterruptedPhaseOneIsNotCalledInfeasible) {
    SolveResult result;
    result.code = -2;
    result.phaseOneRan = true;
    EXPECT_EQ(outcomeText(result), "infeasible");
    result.interrupted = true;
    EXPECT_EQ(outcomeText(result), "interrupted before a feasible point was found");
    result.iterations = 50;  // the main loop found the constraints violated, interrupt or not
    EXPECT_EQ(outcomeText(result), "infeasible");
}

}  // namespace
}  // namespace activeset::cli::tests
