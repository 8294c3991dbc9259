// The block dual method alone: how it follows a path of multipliers, and when it gives up.
#include "frontend/predict/block_dual.hpp"

#include <algorithm>
#include <random>

#include "frontend/predict/multiplier_path.hpp"
#include "support/fixture.hpp"
#include "support/sample.hpp"

namespace activeset::test {
namespace {

class BlockDuals : public FreshState {};

using frontend::MultiplierPath;
using frontend::pathBetween;
using Flags = std::vector<bool>;
using Numbers = std::vector<double>;

frontend::DualOutcome solveAlone(const Sample& sample) {
    const frontend::ProblemData data = frontend::copyOf(sample.view());
    frontend::Subproblem problem(data, 0.0);
    const Settings settings;
    frontend::Control control(settings, 100000);
    return frontend::BlockDual(problem, frontend::Constraints(data), control).run();
}

Sample nearestPoint(Numbers c, std::size_t m, Numbers A, Numbers rowUpper) {
    const std::size_t n = c.size();
    Numbers H(n * n, 0.0);
    for (std::size_t j = 0; j < n; ++j) {
        H[j * (n + 1)] = 1.0;
    }
    return {n, m, std::move(H), std::move(c), std::move(A), {}, std::move(rowUpper), {}, {}, {}};
}

/// All 40 sides are equally far beyond the first point, and each step takes in a few of them.
TEST_F(BlockDuals, TakeInEightNewcomersAtATime) {
    constexpr std::size_t Order = 40;
    Numbers identity(Order * Order, 0.0);
    for (std::size_t j = 0; j < Order; ++j) {
        identity[j * (Order + 1)] = 1.0;
    }
    const frontend::DualOutcome outcome = solveAlone(
        nearestPoint(Numbers(Order, -1.0), Order, std::move(identity), Numbers(Order, 0.0)));
    EXPECT_EQ(outcome.end, frontend::DualOutcome::Optimal);
    EXPECT_EQ(outcome.steps, 1 + Order / 8);
}

/// The first and the fifth multiplier become zero after three quarters of the way; the fourth has
/// no sign to keep.
TEST_F(BlockDuals, FollowAPathUntilASignWouldChange) {
    const frontend::Vector signs{1.0, 1.0, -1.0, 0.0, -1.0};
    const frontend::Vector from{3.0, 1.0, -2.0, 1.0, -6.0};
    const MultiplierPath path = pathBetween(from, {-1.0, 5.0, -6.0, -3.0, 2.0}, signs);
    EXPECT_EQ(path.hasVanished, (Flags{true, false, false, false, true}));
    EXPECT_EQ(path.multipliers, (frontend::Vector{0.0, 4.0, -5.0, -2.0, 0.0}));
    const frontend::Vector to{0.5, 2.0, -1.0, 4.0, -8.0};
    const MultiplierPath whole = pathBetween(from, to, signs);
    EXPECT_EQ(whole.hasVanished, Flags(5, false));
    EXPECT_EQ(whole.multipliers, to);
}

/// Those of newcomers are zero: they stay so and leave together, all others stay where they were.
TEST_F(BlockDuals, LeaveNewcomersOfTheWrongSignBehindAtTheStartOfAPath) {
    const MultiplierPath path =
        pathBetween({2.0, 0.0, 0.0, 0.0}, {-1.0, -3.0, 2.0, 1.0}, {1.0, 1.0, 1.0, -1.0});
    EXPECT_EQ(path.hasVanished, (Flags{false, true, false, true}));
    EXPECT_EQ(path.multipliers, (frontend::Vector{2.0, 0.0, 0.0, 0.0}));
}

/// The second row comes first, then the other two with λ = (27/2, −25/4, −22). Without both that
/// are negative the dual objective falls from 121/16 to 2/9; the path drops the third alone, for
/// λ = (19/34, 103/68). The sets that are solved for: {}, {2}, {2, 1, 3}, {1}, {2, 1, 3}, {2, 1}.
TEST_F(BlockDuals, TakeInByThePathWhatTheyCannotAtOnce) {
    const Sample sample = nearestPoint({4, 2, -1}, 3, {-1, -2, 0, 2, -2, 2, 2, 0, 1}, {0, 1, 1});
    const frontend::DualOutcome outcome = solveAlone(sample);
    EXPECT_EQ(outcome.end, frontend::DualOutcome::Optimal);
    EXPECT_EQ(outcome.steps, 6U);
    EXPECT_NEAR(outcome.point.y[0], 19.0 / 34.0, 1e-14);
    EXPECT_NEAR(outcome.point.y[1], 103.0 / 68.0, 1e-14);
    EXPECT_NEAR(outcome.point.x[1], -3.0 / 34.0, 1e-14);
}

/// Many rows about a point far away. Whoever needs more steps is for another method.
TEST_F(BlockDuals, EndAfterALimitOfSteps) {
    constexpr std::size_t N = 8;
    constexpr std::size_t M = 60;
    constexpr std::size_t Limit = 32 + N / 16;
    constexpr std::size_t LastBlock = 8;  // the sets of its drops and of a path
    std::mt19937_64 bits(1);
    const auto integers = [&](std::size_t count, int from, int to) {
        Numbers numbers(count);
        std::ranges::generate(numbers, [&] {
            return static_cast<double>(from + static_cast<int>(bits() % unsigned(to - from + 1)));
        });
        return numbers;
    };
    std::size_t limited = 0;
    for (int k = 0; k < 1000; ++k) {
        Numbers c = integers(N, -36, 36);
        Numbers A = integers(M * N, -9, 9);
        const frontend::DualOutcome outcome =
            solveAlone(nearestPoint(std::move(c), M, std::move(A), integers(M, 0, 9)));
        EXPECT_LE(outcome.steps, Limit + LastBlock) << k;
        limited += outcome.end == frontend::DualOutcome::Slow && outcome.steps > Limit ? 1U : 0U;
    }
    EXPECT_GE(limited, 10U);
}

}  // namespace
}  // namespace activeset::test
