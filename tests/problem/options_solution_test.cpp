// Conversions of options, and the solution record.
#include <limits>

#include "support/build.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

using Options = FreshState;
using SolutionRecord = FreshState;

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

TEST_F(Options, TheIterationLimitTruncatesAndSaturates) {
    constexpr int Largest = std::numeric_limits<int>::max();
    constexpr int Smallest = std::numeric_limits<int>::min();
    const std::pair<double, int> cases[] = {
        {-2.9, -2}, {NaN, 0}, {Inf, Largest}, {-3e9, Smallest}, {2147483646.5, Largest - 1}};
    for (const auto& [given, expected] : cases) {
        const ASoption option(column({given}), nullptr, nullptr, nullptr, nullptr, 0.0);
        EXPECT_EQ(option.getMaxIter(), expected) << given;
    }
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
    solution.setfstar(columnMatrix({7}));
    EXPECT_EQ(rowsOf(solution.getfstar()), (Rows{{7}}));
    EXPECT_EQ(rowsOf(copy.getfstar()), (Rows{{3}}));
    solution = copy;
    EXPECT_EQ(rowsOf(solution.getfstar()), (Rows{{3}}));
    EXPECT_TRUE(solution.isFvalUpdated());
}

TEST_F(SolutionRecord, IsUpdatedAndResetApartFromTheCallersMatrices) {
    OPTMatrix<double> point = columnMatrix({8, 9});
    OPTMatrix<double> value = columnMatrix({10});
    OPTMatrix<double> multipliers = columnMatrix({11, 12, 13});
    ASsolution solution;
    solution.updateSolution(point, value, multipliers, ASQP::Infeasible);
    point.fill(0.0);
    EXPECT_EQ(rowsOf(solution.getxstarVxArray()), (Rows{{8}, {9}}));
    EXPECT_EQ(rowsOf(solution.getfstarVxArray()), (Rows{{10}}));
    EXPECT_EQ(rowsOf(solution.getlambdaVxArray()), (Rows{{11}, {12}, {13}}));
    EXPECT_EQ(rowsOf(solution.getSolutoinStateVxArray()), (Rows{{-2}}));
    EXPECT_TRUE(solution.isFvalUpdated());
    solution.resetSolution();
    EXPECT_EQ(solution.getSolutoinState(), -5);
    EXPECT_EQ(solution.xstarRef().size() + solution.fstarRef().size(), 0U);
    solution.setxstar(columnMatrix({1, 2, 3}));  // another size
    solution.setlambda(columnMatrix({4, 5}));
    EXPECT_EQ(rowsOf(multipliers), (Rows{{11}, {12}, {13}})) << "the caller's matrix was released";
}

}  // namespace
}  // namespace activeset::test
