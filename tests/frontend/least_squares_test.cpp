// Fits, checked by hand, by optimality conditions, and where RᵀR is numerically singular.
#include <cmath>
#include <random>
#include <thread>

#include "activeset/least_squares.hpp"
#include "frontend/generator.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

class LeastSquaresFits : public FreshState {
protected:
    std::mt19937_64 random_{20};

    Numbers normal(std::size_t count) {
        std::normal_distribution<double> next;
        Numbers values(count);
        std::ranges::generate(values, [&] { return next(random_); });
        return values;
    }
};

// Läuchli's matrix: 1 + 2⁻⁵⁴ is 1, so RᵀR is singular. (−e, 1, 1) is orthogonal to its columns.
TEST_F(LeastSquaresFits, AreExactWhereTheSquareIsSingular) {
    constexpr double e = 0x1p-27;
    constexpr double noise = 0x1p-24;
    const Numbers R{1, e, 0, 1, 0, e};
    const Numbers s{2 - e * noise, e + noise, e + noise};
    LeastSquares fit{{R, 3, 2}, s};
    for (const Numbers& upper : {Numbers(), Numbers{9, 9}}) {
        fit.upper = upper;
        const Result r = solveLeastSquares(fit);
        EXPECT_EQ(r.status, Status::Optimal);
        EXPECT_NEAR(r.x[0], 1.0, 1e-5);
        EXPECT_NEAR(r.x[1], 1.0, 1e-5);
        EXPECT_NEAR(r.objective, noise * noise * (1 + e * e / 2), 1e-15 * noise);
    }
}

TEST_F(LeastSquaresFits, AreOptimalByTheirConditions) {
    for (int round = 0; round < 300; ++round) {
        const std::size_t n = 1 + random_() % 8;
        const std::size_t k = random_() % 20;
        const std::size_t m = random_() % 4;
        Numbers R = normal(k * n);
        for (std::size_t j = 0; j < n; ++j) {
            const double size = std::pow(10.0, -static_cast<double>(random_() % 5));
            std::for_each_n(R.begin() + static_cast<std::ptrdiff_t>(j * k), k,
                            [&](double& entry) { entry *= size; });
        }
        const Numbers s = normal(k);
        const Numbers A = normal(m * n);
        const Numbers sides(m, -0.1);
        const Numbers lower(n, round % 3 == 0 ? -Infinity : -0.5);
        const Numbers upper(n, 0.25);
        const LeastSquares fit{{R, k, n}, s, {}, {}, {A, m, n}, {}, sides, lower, upper};
        const Result r = solveLeastSquares(fit);
        if (r.status == Status::Infeasible) {
            continue;
        }
        ASSERT_EQ(r.status, Status::Optimal) << "round " << round;
        Numbers left = s;
        for (std::size_t j = 0; j < n; ++j) {
            for (std::size_t i = 0; i < k; ++i) {
                left[i] -= R[j * k + i] * r.x[j];
            }
        }
        for (std::size_t j = 0; j < n; ++j) {
            double gradient = r.z[j];
            for (std::size_t i = 0; i < k; ++i) {
                gradient -= R[j * k + i] * left[i];
            }
            for (std::size_t i = 0; i < m; ++i) {
                gradient += A[j * m + i] * r.y[i];
            }
            EXPECT_NEAR(gradient, 0.0, 1e-11);
            EXPECT_TRUE(r.z[j] == 0.0 || r.x[j] == (r.z[j] > 0 ? upper[j] : lower[j]));
            EXPECT_TRUE(lower[j] <= r.x[j] && r.x[j] <= upper[j]);
        }
        EXPECT_TRUE(std::ranges::all_of(r.y, [](double y) { return y >= 0.0; }));
    }
}

TEST_F(LeastSquaresFits, TakeWeightsAsANumberPerRowOrAsAMatrix) {
    const Numbers R{1, 1, 1};
    const Numbers s{0, 0, 6};
    const Numbers weights{1, 1, 4};
    const Numbers W{2, 1, 0, 1, 2, 0, 0, 0, 3};
    EXPECT_NEAR(solveLeastSquares({{R, 3, 1}, s, weights}).x[0], 4.0, 1e-15);
    // RᵀWR = 9, RᵀWs = 18.
    EXPECT_NEAR(solveLeastSquares({{R, 3, 1}, s, {}, {W, 3, 3}}).x[0], 2.0, 1e-15);
}

TEST_F(LeastSquaresFits, MayBeEmpty) {
    const Numbers s{3, 4};
    const Result nothing = solveLeastSquares({{s.data(), 2, 0}, s});
    EXPECT_EQ(nothing.status, Status::Optimal);
    EXPECT_EQ(nothing.objective, 12.5);
    const Numbers lower{1, -1};
    LeastSquares free{{s.data(), 0, 2}, {}};
    free.lower = lower;
    const Result any = solveLeastSquares(free);
    EXPECT_EQ(any.status, Status::Optimal);
    EXPECT_GE(any.x[0], 1.0);
    EXPECT_EQ(any.objective, 0.0);
}

TEST_F(LeastSquaresFits, SayWhatIsWrongInTheirOwnTerms) {
    const Numbers R{1, NAN};
    const Numbers s{1, 2, 3};
    const Numbers weights{1, -1};
    const Result r = solveLeastSquares({{R, 2, 1}, s, weights});
    EXPECT_EQ(r.status, Status::Invalid);
    EXPECT_EQ(r.message,
              "R(1, 0) = nan, expected a finite number\n"
              "s has 3 entries, expected 2, one per row of R\n"
              "weights(1) is negative");
    const Numbers indefinite{1, 2, 2, 1};
    const Numbers column{1, 1};
    EXPECT_EQ(solveLeastSquares({{column, 2, 1}, column, {}, {indefinite, 2, 2}}).message,
              "W is not positive definite");
    const Numbers large{1e200, 1e200};
    EXPECT_EQ(solveLeastSquares({{large, 2, 1}, column}).status, Status::Invalid);
}

TEST_F(LeastSquaresFits, EndWhenTheyAreTold) {
    const std::size_t n = 60;
    const Numbers R = normal(2 * n * n);
    const Numbers s = normal(2 * n);
    std::stop_source source;
    source.request_stop();
    Settings settings;
    settings.stop = source.get_token();
    EXPECT_EQ(solveLeastSquares({{R, 2 * n, n}, s}, settings).status, Status::Interrupted);
    Settings counted;
    std::size_t passes = 0;
    counted.onPass = [&](const Progress&) { return ++passes < 2; };
    const Numbers lower(n, 0.0);
    LeastSquares fit{{R, 2 * n, n}, s};
    fit.lower = lower;
    EXPECT_EQ(solveLeastSquares(fit, counted).status, Status::Interrupted);
    EXPECT_EQ(passes, 2U);
}

}  // namespace
}  // namespace activeset::test
