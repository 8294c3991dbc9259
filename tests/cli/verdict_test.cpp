// The residuals beside the summary, for results that are right and for results that are not.
#include "cli/verdict.hpp"

#include <gtest/gtest.h>

#include <limits>

#include "cli/report.hpp"
#include "io/qps_reader.hpp"

namespace activeset::cli::tests {
namespace {

/// min ½(x − 4)² + ½(y − 1)² subject to x + z = 2, y ≥ 0 as a row, y and z ≥ 0 as bounds, x free.
/// At the optimum (2, 1, 0) the gradient is (−2, 0, 0), so λeq = 2, which leaves 2 for z's bound.
class Verdicts : public ::testing::Test {
protected:
    Verdicts()
        : problem_(io::readProblemText("ROWS\n N cost\n E sum\n G row\n"
                                       "COLUMNS\n x cost -4 sum 1\n y cost -1 row 1\n z sum 1\n"
                                       "RHS\n b cost -8.5 sum 2\n"
                                       "BOUNDS\n FR b x\n"
                                       "QUADOBJ\n x x 1\n y y 1\nENDATA\n",
                                       "t")) {
        result_.code = 1;
        result_.x = {2, 1, 0};
        result_.objective = -6.5;
        result_.lambda = {2, /* row */ 0, /* lower */ 0, 0, 2, /* upper */ 0, 0, 0};
    }

    [[nodiscard]] Verdict verdict() const { return judge(problem_, result_, settings_); }

    io::Problem problem_;
    SolveResult result_;
    SolverSettings settings_;
};

constexpr std::size_t Row = 1;
constexpr std::size_t LowerOfX = 2;
constexpr std::size_t LowerOfY = 3;
constexpr std::size_t LowerOfZ = 4;
constexpr std::size_t UpperOfY = 6;

TEST_F(Verdicts, SupportAnOptimumAndTakeTheConstantIn) {
    const Verdict verdict = this->verdict();

    EXPECT_TRUE(verdict.supports());
    EXPECT_EQ(verdict.objective.value, 2.0);
    EXPECT_EQ(verdict.primal.value, 0.0);
    EXPECT_EQ(verdict.dual.value, 0.0);
    EXPECT_EQ(verdict.complementarity.value, 0.0);
    EXPECT_EQ(summaryText(problem_, result_, verdict).find("support"), std::string::npos);
}

TEST_F(Verdicts, FindAViolatedConstraintOfEachKind) {
    result_.x = {2.25, 1, 0};
    EXPECT_EQ(verdict().primal.value, 0.25);
    result_.x = {2.5, 1, -0.5};
    EXPECT_EQ(verdict().primal.value, 0.5);
    result_.x = {2, -0.125, 0};
    EXPECT_EQ(verdict().primal.value, 0.125);
    EXPECT_FALSE(verdict().primal.supports);
    problem_.ub[1] = 0.75;
    result_.x = {2, 1, 0};
    EXPECT_EQ(verdict().primal.value, 0.25);
    EXPECT_FALSE(verdict().primal.supports);
}

TEST_F(Verdicts, FindAGradientThatTheMultipliersDoNotBalance) {
    result_.lambda[0] = -2;  // the other sign convention for equalities
    EXPECT_EQ(verdict().dual.value, 4.0);
    EXPECT_FALSE(verdict().dual.supports);
    result_.lambda[0] = 2;
    result_.lambda[LowerOfZ] = 0;
    EXPECT_EQ(verdict().dual.value, 2.0);
    EXPECT_FALSE(verdict().dual.supports);
}

TEST_F(Verdicts, FindAMultiplierOfTheWrongSign) {
    // y's gradient is balanced, by −3 on the row −y ≤ 0 against 3 on its upper bound.
    result_.lambda[Row] = -3;
    result_.lambda[LowerOfY] = 3;
    const Verdict verdict = this->verdict();

    EXPECT_EQ(verdict.dual.value, 3.0);
    EXPECT_FALSE(verdict.dual.supports);
}

TEST_F(Verdicts, FindAMultiplierOfAConstraintThatIsNotActiveOrNotThere) {
    problem_.ub[1] = 1.5;
    result_.lambda[Row] = 3;       // y is 1 away from the row
    result_.lambda[UpperOfY] = 3;  // and 0.5 below its upper bound
    EXPECT_EQ(verdict().complementarity.value, 3.0);
    EXPECT_FALSE(verdict().complementarity.supports);

    result_.lambda[Row] = result_.lambda[UpperOfY] = 0;
    result_.lambda[0] = 2.5;  // x has no lower bound that could have a multiplier
    result_.lambda[LowerOfX] = 0.5;
    result_.lambda[LowerOfZ] = 2.5;
    EXPECT_EQ(verdict().dual.value, 0.0);
    EXPECT_EQ(verdict().complementarity.value, 0.5);
    EXPECT_FALSE(verdict().complementarity.supports);
}

TEST_F(Verdicts, FindAnObjectiveThatIsNotTheOneAtThePoint) {
    result_.objective = -6.4;

    EXPECT_EQ(verdict().objective.value, 2.0);
    EXPECT_FALSE(verdict().objective.supports);
    EXPECT_NE(summaryText(problem_, result_, verdict())
                  .find("objective        2  (does not support the outcome)\n"),
              std::string::npos);
}

TEST_F(Verdicts, NumbersThatAreNoneSupportNothing) {
    result_.x[1] = std::numeric_limits<double>::quiet_NaN();

    EXPECT_FALSE(verdict().primal.supports);
    EXPECT_FALSE(verdict().dual.supports);
    EXPECT_FALSE(verdict().complementarity.supports);
    EXPECT_FALSE(verdict().objective.supports);
}

TEST_F(Verdicts, MeasureAgainstTheSizeOfTheTerms) {
    // One unit in the last place of 1e12, far above any absolute tolerance.
    problem_.beq[0] = 1e12;
    result_.x = {1e12, 1, 0.000244140625};
    const Verdict verdict = this->verdict();

    EXPECT_GT(verdict.primal.value, 1e-4);
    EXPECT_TRUE(verdict.primal.supports);
}

TEST_F(Verdicts, OfOtherOutcomesAreAboutThePointAlone) {
    result_.lambda.assign(8, 0.0);
    for (const int code : {0, -1, -4, 2, 3, 4}) {
        result_.code = code;
        EXPECT_TRUE(verdict().supports()) << code;
    }
    result_.x[2] = -1;
    result_.code = 0;
    EXPECT_FALSE(verdict().primal.supports);
    for (const int code : {-2, -3}) {
        result_.code = code;
        EXPECT_TRUE(verdict().primal.supports) << code;
        result_.x[2] = 0;
        EXPECT_FALSE(verdict().primal.supports) << "a feasible point, and " << code;
        result_.x[2] = -1;
    }
}

TEST_F(Verdicts, AnInterruptedPhaseOneIsNotCalledInfeasible) {
    result_.code = -2;
    result_.phaseOneRan = true;
    EXPECT_EQ(outcomeText(result_), "infeasible");
    result_.interrupted = true;
    EXPECT_EQ(outcomeText(result_), "interrupted before a feasible point was found");
    result_.iterations = 50;  // the main loop found the constraints violated, interrupt or not
    EXPECT_EQ(outcomeText(result_), "infeasible");
}

}  // namespace
}  // namespace activeset::cli::tests
