// Problems whose H is not quite convex because of rounding.
#include "frontend/generator.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

class RoundedConvexity : public FreshState {};

constexpr std::size_t Assets = 50;

/// The covariance of 50 assets from 30 days, which has rank 29, with entries rounded by `round`.
template <class Round>
Numbers covariance(Round round) {
    std::mt19937_64 bits(7);
    std::normal_distribution<double> normal;
    constexpr std::size_t Days = 30;
    Numbers returns(Assets * Days);
    std::generate(returns.begin(), returns.end(), [&] { return 0.01 * normal(bits); });
    Numbers H(Assets * Assets);
    for (std::size_t i = 0; i < Assets; ++i) {
        for (std::size_t j = 0; j <= i; ++j) {
            double sum = 0.0;
            for (std::size_t day = 0; day < Days; ++day) {
                sum += returns[i * Days + day] * returns[j * Days + day];
            }
            H[i * Assets + j] = H[j * Assets + i] = round(sum / Days);
        }
    }
    return H;
}

double digits(double value, int count) {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%.*e", count - 1, value);
    return std::atof(text.data());
}

double quadratic(const Numbers& H, const Numbers& x) {
    double sum = 0.0;
    for (std::size_t k = 0; k < H.size(); ++k) {
        sum += 0.5 * H[k] * x[k / x.size()] * x[k % x.size()];
    }
    return sum;
}

// The fully invested portfolio of least variance.
struct Portfolio {
    Numbers H;
    Numbers ones = Numbers(Assets, 1.0);
    Numbers zeros = Numbers(Assets, 0.0);
    Numbers one{1.0};

    [[nodiscard]] Problem view() const {
        return {.H = {H, Assets, Assets},
                .A = {ones, 1, Assets},
                .rowLower = one,
                .rowUpper = one,
                .lower = zeros};
    }
};

TEST_F(RoundedConvexity, DataOfFloatsOrFewDigitsAreSolvedAndTheShiftIsTold) {
    const Numbers exact = covariance([](double value) { return value; });
    const double largest = *std::ranges::max_element(exact);
    for (const Numbers& H :
         {covariance([](double value) { return static_cast<double>(static_cast<float>(value)); }),
          covariance([](double value) { return digits(value, 7); }),
          covariance([](double value) { return digits(value, 10); })}) {
        const Portfolio portfolio{H};
        const Result result = solve(portfolio.view());
        ASSERT_EQ(result.status, Status::Optimal) << result.message;
        EXPECT_GT(result.hessianShift, 0.0);
        EXPECT_LT(result.hessianShift, 1e-6 * largest * Assets);
        EXPECT_NEAR(result.objective, quadratic(H, result.x), 1e-14 * largest);

        Portfolio shifted = portfolio;
        for (std::size_t j = 0; j < Assets; ++j) {
            shifted.H[j * (Assets + 1)] += result.hessianShift;
        }
        const Result convex = solve(shifted.view(), {.convexityTolerance = 0.0});
        ASSERT_EQ(convex.status, Status::Optimal);
        EXPECT_EQ(convex.hessianShift, 0.0);
        for (std::size_t j = 0; j < Assets; ++j) {
            EXPECT_NEAR(convex.x[j], result.x[j], 1e-9);  // another method: H is definite
        }
        // Half the shift is not enough, so the shift is at most twice the necessary one.
        for (std::size_t j = 0; j < Assets; ++j) {
            shifted.H[j * (Assets + 1)] -= 0.6 * result.hessianShift;
        }
        const Result notConvex = solve(shifted.view(), {.convexityTolerance = 0.0});
        EXPECT_EQ(notConvex.status, Status::NotConvex);
        EXPECT_TRUE(notConvex.message.ends_with(" solves that")) << notConvex.message;

        Solver solver(portfolio.view());
        EXPECT_EQ(solver.solve().x, result.x);
        const Result warm = solver.solve();
        EXPECT_EQ(warm.status, Status::Optimal);
        EXPECT_EQ(warm.hessianShift, result.hessianShift);
        EXPECT_EQ(warm.iterations.main, 0U);
        solver.setHessian({shifted.ones, 0, 0});
        EXPECT_EQ(solver.solve().hessianShift, 0.0);

        const std::vector<Problem> many(2, portfolio.view());
        EXPECT_EQ(solveMany(many, {.threads = 1, .chain = 2})[1].hessianShift, result.hessianShift);
        Portfolio empty = portfolio;
        empty.one[0] = -1.0;
        EXPECT_EQ(solve(empty.view()).status, Status::Infeasible);
    }
}

TEST_F(RoundedConvexity, BeyondTheToleranceTheMessageNamesTheShiftThatWouldDo) {
    const Numbers H{1.0, 2.0, 2.0, 1.0};  // eigenvalues 3 and −1
    const Numbers ones{1.0, 1.0};
    const Numbers zeros{0.0, 0.0};
    const Numbers side{0.0};
    Problem problem{.H = {H, 2, 2}, .c = zeros, .lower = zeros, .upper = ones};
    const Result result = solve(problem);
    EXPECT_EQ(result.status, Status::NotConvex);
    EXPECT_EQ(result.hessianShift, 0.0);
    EXPECT_EQ(result.message, "H is not convex; H + 1.01 I is, which is another problem");
    const Result shifted = solve(problem, {.convexityTolerance = 0.33});
    EXPECT_EQ(shifted.status, Status::Optimal);
    EXPECT_NEAR(shifted.hessianShift, 1.0, 2e-3);
    // A stopped search does not know whether a shift would do.
    std::stop_source source;
    source.request_stop();
    const Result stopped = solve(problem, {.convexityTolerance = 0.33, .stop = source.get_token()});
    EXPECT_EQ(stopped.status, Status::Interrupted);
    EXPECT_TRUE(stopped.direction.empty());
    // The problem is convex on x₁ = x₂, so H is not shifted.
    const Numbers row{1.0, -1.0};
    problem.A = {row, 1, 2};
    problem.rowLower = problem.rowUpper = side;
    Solver solver(problem);
    EXPECT_EQ(solver.solve().hessianShift, 0.0);
    EXPECT_EQ(solver.solve().status, Status::Optimal);
    // Without the equality the solver looks for a shift again.
    solver.settings().convexityTolerance = 0.5;
    solver.setRowSides(side, ones);
    EXPECT_EQ(solver.solve().status, Status::Invalid);
    const Numbers most{1.0};
    solver.setRowSides(side, most);
    EXPECT_NEAR(solver.solve().hessianShift, 1.0, 2e-3);
    for (const double tolerance : {-1e-9, 1.5, std::nan("")}) {
        EXPECT_EQ(solve(problem, {.convexityTolerance = tolerance}).faults.at(0).name,
                  "settings.convexityTolerance");
    }
}

TEST_F(RoundedConvexity, TheShiftCountsOnlyDirectionsThatTheEqualitiesLeave) {
    const Numbers H{-1.0, 0.0, 0.0, 0.0, -3.0, 0.0, 0.0, 0.0, -100.0};
    const Numbers row{1.0, -1.0, 0.0};  // along (1, 1) the curvature is −2
    const Numbers side{0.0};
    const Numbers lower{-1.0, -1.0, 1.0};
    const Numbers upper{1.0, 1.0, 1.0};
    const Result result = solve({.H = {H, 3, 3},
                                 .A = {row, 1, 3},
                                 .rowLower = side,
                                 .rowUpper = side,
                                 .lower = lower,
                                 .upper = upper});
    EXPECT_EQ(result.status, Status::NotConvex);
    EXPECT_EQ(result.message, "H is not convex; H + 2.02 I is, which is another problem");
}

/// The equalities fix x₂ and x₃, but for rounding of the direction, and leave x₁ with curvature −3.
TEST_F(RoundedConvexity, EqualitiesWithoutAVariableLeaveItsCurvature) {
    const Numbers H{-3.0, 0.0, 0.0, 0.0, 1.0, 1.0, 0.0, 1.0, 1.0};
    const Numbers rows{0.0, 0.0, 2.0, 0.0, 2.0, 2.0};
    const Numbers sides{10.0, 4.0};
    const Numbers lower{-3.0, 0.0, 0.0};
    const Numbers upper{-1.0, 9.0, 9.0};
    const Result result = solve({.H = {H, 3, 3},
                                 .A = {rows, 2, 3},
                                 .rowLower = sides,
                                 .rowUpper = sides,
                                 .lower = lower,
                                 .upper = upper});
    EXPECT_EQ(result.status, Status::NotConvex);
}

}  // namespace
}  // namespace activeset::test
