// Option defaults and conversions, and the solution record.
#include <limits>

#include "support/build.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

using Matrix = OPTMatrix<double>;
using Options = FreshState;
using SolutionRecord = FreshState;

TEST_F(Options, AreTheDefaultsWhereNothingIsGiven) {
    vxArray* empty = vxCreateDoubleMatrix(0, 3, vxComplexity::Real);
    ASoption defaults;
    ASoption fromNull(nullptr, nullptr, nullptr, nullptr, nullptr, -1.0);
    ASoption fromEmpty(empty, empty, empty, empty, empty, -1.0);
    for (ASoption* option : {&defaults, &fromNull, &fromEmpty}) {
        EXPECT_EQ(option->getMaxIter(), 100);
        EXPECT_EQ(option->getTolCon(), 1e-6);
        EXPECT_EQ(option->getTolFun(), 1e-6);
        EXPECT_EQ(option->getTolX(), 1e-6);
        EXPECT_EQ(option->getDisplay(), "final");
        EXPECT_EQ(option->getObjectiveLimit(),
                  option == &defaults ? -std::numeric_limits<double>::max() : -1.0);
    }
}

TEST_F(Options, TakeEachArraysFirstElementAndKeepThemApart) {
    ASoption option(array({{7, 8}}), column({1e-1}), column({1e-2}), column({1e-3}),
                    vxCreateCharArray("iter"), -5.0);
    const ASoption copy(option);
    option.setMaxIter(1);
    option.setTolCon(2);
    option.setTolFun(3);
    option.setTolX(4);
    option.setObjectiveLimit(5);
    option.setDisplay("off");
    const auto settings = [](const ASoption& o) {
        return std::vector<double>{static_cast<double>(o.getMaxIter()), o.getTolCon(),
                                   o.getTolFun(), o.getTolX(), o.getObjectiveLimit()};
    };
    EXPECT_EQ(settings(copy), (std::vector<double>{7, 1e-1, 1e-2, 1e-3, -5}));
    EXPECT_EQ(settings(option), (std::vector<double>{1, 2, 3, 4, 5}));
    EXPECT_EQ(ASoption(copy).getDisplay(), "iter");
    EXPECT_EQ(option.getDisplay(), "off");
}

TEST_F(Options, TheIterationLimitTruncatesAndSaturatesForEveryClass) {
    constexpr int Largest = std::numeric_limits<int>::max();
    constexpr int Smallest = std::numeric_limits<int>::min();
    const std::pair<double, int> cases[] = {{2.9, 2},
                                            {-2.9, -2},
                                            {NaN, 0},
                                            {Inf, Largest},
                                            {-Inf, Smallest},
                                            {3e9, Largest},
                                            {-3e9, Smallest},
                                            {2147483647.0, Largest},
                                            {2147483646.5, Largest - 1}};
    const auto limit = [](vxArray* maxIter) {
        return ASoption(maxIter, maxIter, nullptr, nullptr, nullptr, 0.0).getMaxIter();
    };
    for (const auto& [given, expected] : cases) {
        EXPECT_EQ(limit(column({given})), expected) << given;
    }
    vxArray* integer = vxCreateNumericMatrix(1, 1, vxClass::Int32, vxComplexity::Real);
    *static_cast<std::int32_t*>(vxGetData(integer)) = -9;
    EXPECT_EQ(limit(integer), -9);
    vxArray* single = vxCreateNumericMatrix(1, 1, vxClass::Single, vxComplexity::Complex);
    *static_cast<float*>(vxGetData(single)) = 12.5F;
    EXPECT_EQ(limit(single), 12);
    EXPECT_EQ(limit(sparse({{0, 4}})), 0);
    EXPECT_EQ(limit(vxCreateCharArray("0")), 48);
}

TEST_F(SolutionRecord, TakesAValueOnlyForANewPoint) {
    ASsolution solution;
    EXPECT_FALSE(solution.isFvalUpdated());
    solution.setxstar(columnMatrix({1, 2}));
    solution.setfstar(columnMatrix({3}));
    solution.setfstar(columnMatrix({4}));
    EXPECT_EQ(rowsOf(solution.fstarRef()), (Rows{{3}}));
    solution.setxstar(columnMatrix({5, 6}));
    EXPECT_FALSE(solution.isFvalUpdated());
    const ASsolution copy(solution);
    EXPECT_TRUE(copy.isFvalUpdated()) << "a copy's value counts as current";
    EXPECT_EQ(rowsOf(copy.getxstar()), (Rows{{5}, {6}}));
    solution.setfstar(columnMatrix({7}));
    EXPECT_EQ(rowsOf(solution.getfstar()), (Rows{{7}}));
    EXPECT_EQ(rowsOf(copy.getfstar()), (Rows{{3}}));
    solution = copy;
    EXPECT_EQ(rowsOf(solution.getfstar()), (Rows{{3}}));
    EXPECT_TRUE(solution.isFvalUpdated());
    Matrix point = columnMatrix({8, 9});
    Matrix value = columnMatrix({10});
    Matrix multipliers = columnMatrix({11, 12, 13});
    solution.updateSolution(point, value, multipliers, ASQP::Infeasible);
    const ASsolution whole(point, value, multipliers, ASQP::Infeasible);
    point.fill(0.0);
    for (const ASsolution* each : {static_cast<const ASsolution*>(&solution), &whole}) {
        EXPECT_EQ(rowsOf(each->getxstarVxArray()), (Rows{{8}, {9}}));
        EXPECT_EQ(rowsOf(each->getfstarVxArray()), (Rows{{10}}));
        EXPECT_EQ(rowsOf(each->getlambdaVxArray()), (Rows{{11}, {12}, {13}}));
        EXPECT_EQ(rowsOf(each->getSolutoinStateVxArray()), (Rows{{-2}}));
        EXPECT_TRUE(each->isFvalUpdated());
    }
}

TEST_F(SolutionRecord, ResetEmptiesItForAProblemOfAnotherSize) {
    Matrix one = columnMatrix({1});
    ASsolution solution(one, one, one, ASQP::Optimal);
    solution.resetSolution();
    EXPECT_EQ(solution.getSolutoinState(), -5);
    EXPECT_EQ(solution.xstarRef().size() + solution.fstarRef().size(), 0U);
    EXPECT_EQ(vxGetM(solution.getlambdaVxArray()), 0U);
    solution.setxstar(columnMatrix({1, 2, 3}));
    solution.setlambda(columnMatrix({4, 5}));
    EXPECT_EQ(rowsOf(solution.getxstar()), (Rows{{1}, {2}, {3}}));
    EXPECT_EQ(rowsOf(one), (Rows{{1}})) << "the caller's matrix was released";
    solution.setSolutionState(ASQP::IllPosed);
    EXPECT_EQ(rowsOf(solution.getSolutoinStateVxArray()), (Rows{{4}}));
}

}  // namespace
}  // namespace activeset::test
