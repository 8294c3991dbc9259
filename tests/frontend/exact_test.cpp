// Answers to small problems on which solvers tend to fail, judged in exact arithmetic.
#include "support/exact/judge.hpp"

#include <map>

#include "support/fixture.hpp"
#include "support/styles.hpp"

namespace activeset::test {
namespace {

struct Expected {
    Style style;
    std::uint64_t count;
    double inaccurate;  ///< largest share of inaccurate answers
    std::vector<Status> met;
};

void PrintTo(const Expected& expected, std::ostream* stream) {
    *stream << StyleNames.at(static_cast<std::size_t>(expected.style));
}

class ExactAnswers : public FreshState, public testing::WithParamInterface<Expected> {};

TEST_P(ExactAnswers, AreTrue) {
    const Expected& expected = GetParam();
    std::map<Status, int> met;
    double solves = 0.0;
    for (std::uint64_t seed = 1; seed <= expected.count; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        SeededChoices choices(seed);
        const StyledCase styled = caseOf(expected.style, choices, 4);
        styled.solve({}, [&](const Sample& sample, const Result& result) {
            EXPECT_EQ(exact::judge(sample, result).wrong, "") << exact::textOf(sample);
            ++met[result.status];
            ++solves;
        });
        if (HasFailure()) {
            return;
        }
    }
    EXPECT_LE(met[Status::Inaccurate], expected.inaccurate * solves);
    for (const Status status : expected.met) {
        EXPECT_GT(met[status], 0.01 * solves) << textOf(status);
    }
}

using enum Status;

INSTANTIATE_TEST_SUITE_P(
    Small,
    ExactAnswers,
    testing::Values(
        Expected{Style::Integers, 2000, 0.0, {Optimal, Infeasible, Unbounded, NotConvex}},
        Expected{Style::Degenerate, 1000, 0.0, {Optimal, Unbounded}},
        Expected{Style::NearParallel, 500, 0.01, {Optimal, Unbounded}},
        Expected{Style::Products, 500, 0.01, {Optimal, Unbounded}},
        Expected{Style::LowRank, 2000, 0.0, {Optimal, Unbounded}},
        Expected{Style::FarStart, 500, 0.0, {Optimal, Unbounded}},
        Expected{Style::TinyCosts, 500, 0.04, {Optimal, Infeasible}},
        Expected{Style::LargeBounds, 1000, 0.001, {Optimal, Infeasible}},
        Expected{Style::HugeBounds, 500, 0.01, {Optimal, Infeasible}},
        Expected{Style::NearSingular, 500, 0.01, {Optimal}},
        Expected{Style::Infeasible, 500, 0.0, {Infeasible}},
        Expected{Style::Unbounded, 500, 0.002, {Optimal, Unbounded}},
        Expected{Style::Contradictions, 500, 0.0, {Infeasible}},
        Expected{Style::JumpingCosts, 200, 0.001, {Optimal}},
        Expected{Style::NonsenseStart, 500, 0.0, {Optimal, Unbounded}},
        Expected{Style::Wedges, 1000, 0.15, {Optimal, Unbounded}}),
    [](const testing::TestParamInfo<Expected>& each) {
        std::string name = StyleNames.at(static_cast<std::size_t>(each.param.style));
        std::erase(name, '-');
        return name;
    });

void expectTruth(Style style, std::uint64_t seed, std::size_t largest = 4) {
    SeededChoices choices(seed);
    caseOf(style, choices, largest).solve({}, [&](const Sample& sample, const Result& result) {
        EXPECT_EQ(exact::judge(sample, result).wrong, "") << "seed " << seed;
    });
}

// x satisfies nearly parallel sides up to rounding, but the points that satisfy them exactly are
// far away. In some problems more sides meet at x than there are variables.
TEST(NearlyParallelSides, AreNotMetByRoundingAlone) {
    for (const std::uint64_t seed :
         {400197U, 400207U, 402486U, 412038U, 413134U, 413302U, 421172U}) {
        expectTruth(Style::NearParallel, seed);
    }
    // Of the last, rows cancel in doubles but not in truth: a point that meets them is far out.
    for (const std::uint64_t seed :
         {2920U, 503443U, 504948U, 507653U, 902828U, 905332U, 9000527U}) {
        expectTruth(Style::Wedges, seed);
    }
    for (const std::uint64_t seed : {415858U, 4000134U, 4011927U}) {
        expectTruth(Style::NearParallel, seed);
    }
}

// What is left of the gradient weighs as much as x has to move, which is far between such rows.
TEST(NearlyParallelSides, AreFollowedToTheOptimum) {
    for (const std::uint64_t seed : {702447U, 4000612U}) {
        expectTruth(Style::NearParallel, seed);
    }
}

// At x = 1e18 a contradiction by 1 is rounding. In the second, a bound gives way to a row as far as
// it has room, which is 5.
TEST(FarPoints, DoNotMeetSidesThatContradictOneAnother) {
    expectTruth(Style::JumpingCosts, 3001330);
    expectTruth(Style::JumpingCosts, 9000322);
}

}  // namespace
}  // namespace activeset::test
