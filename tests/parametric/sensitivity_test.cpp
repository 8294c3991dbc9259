// Derivatives of an optimum, compared with differences of solved optima.
#include "activeset/sensitivity.hpp"

#include <gmock/gmock.h>

#include <cmath>
#include <random>
#include <stdexcept>

#include "frontend/generator.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

class Sensitivities : public FreshState {};

double product(const Numbers& a, const Numbers& b) {
    double sum = 0.0;
    for (std::size_t k = 0; k < a.size(); ++k) {
        sum += a[k] * b[k];
    }
    return sum;
}

Numbers randomNumbers(std::mt19937_64& bits, std::size_t count) {
    std::normal_distribution<double> normal;
    Numbers values(count);
    std::generate(values.begin(), values.end(), [&] { return normal(bits); });
    return values;
}

// A random change of all data. Equal sides stay equal, H stays symmetric.
Sample randomChange(const Sample& s, std::mt19937_64& bits) {
    Sample d = s;
    for (Numbers* part : {&d.H, &d.c, &d.A, &d.rowLower, &d.rowUpper, &d.lower, &d.upper}) {
        *part = randomNumbers(bits, part->size());
    }
    for (std::size_t j = 0; j < s.n; ++j) {
        for (std::size_t i = 0; i < j; ++i) {
            d.H[i * s.n + j] = d.H[j * s.n + i];
        }
        d.lower[j] = s.lower[j] == s.upper[j] ? d.upper[j] : d.lower[j];
    }
    for (std::size_t i = 0; i < s.m; ++i) {
        d.rowLower[i] = s.rowLower[i] == s.rowUpper[i] ? d.rowUpper[i] : d.rowLower[i];
    }
    return d;
}

Sample moved(Sample s, const Sample& d, double step) {
    for (auto part : {&Sample::H, &Sample::c, &Sample::A, &Sample::rowLower, &Sample::rowUpper,
                      &Sample::lower, &Sample::upper}) {
        for (std::size_t k = 0; k < (s.*part).size(); ++k) {
            (s.*part)[k] += step * (d.*part)[k];
        }
    }
    return s;
}

Change viewOf(const Sample& d) {
    const Problem p = d.view();
    return {p.H, p.c, p.A, p.rowLower, p.rowUpper, p.lower, p.upper};
}

struct Loss {
    Numbers x, y, z;
    [[nodiscard]] double of(const Result& r) const {
        return product(x, r.x) + product(y, r.y) + product(z, r.z);
    }
};

double gainOf(const Gradients& g, const Sample& d) {
    return product(g.H, d.H) + product(g.c, d.c) + product(g.A, d.A) +
           product(g.rowLower, d.rowLower) + product(g.rowUpper, d.rowUpper) +
           product(g.lower, d.lower) + product(g.upper, d.upper);
}

Sample differentiable(unsigned seed) {
    Sample s = randomSample(2 * seed + 1, 8, false);
    std::mt19937_64 bits(seed);
    for (Numbers* part : {&s.c, &s.A}) {
        const Numbers noise = randomNumbers(bits, part->size());
        for (std::size_t k = 0; k < noise.size(); ++k) {
            (*part)[k] += 0.1 * noise[k];
        }
    }
    return s;
}

// Differences of fourth order: their truncation error is below 1e-9 where the working set stays the
// same.
TEST_F(Sensitivities, AgreeWithDifferencesOfOptima) {
    constexpr double Step = 1e-4;
    int compared = 0;
    for (unsigned seed = 0; seed < 300; ++seed) {
        const Sample s = differentiable(seed);
        std::mt19937_64 bits(seed);
        const Sample d = randomChange(s, bits);
        const Loss loss{randomNumbers(bits, s.n), randomNumbers(bits, s.m),
                        randomNumbers(bits, s.n)};
        const Result r = solve(s.view(), {.keepFactors = seed % 2 == 0});
        if (!r) {
            continue;  // the noise made it infeasible
        }
        const Sensitivity sensitivity(r, s.view());
        double losses[4] = {};
        bool isSame = sensitivity.smoothness().derivative == Derivative::Full;
        for (int k = 0; k < 4 && isSame; ++k) {
            constexpr double Steps[] = {-2 * Step, -Step, Step, 2 * Step};
            const Result near = solve(moved(s, d, Steps[k]).view());
            isSame = near && near.workingSet == r.workingSet;
            losses[k] = isSame ? loss.of(near) : 0.0;
        }
        if (!isSame) {
            continue;
        }
        ++compared;
        const double difference =
            (losses[0] - 8 * losses[1] + 8 * losses[2] - losses[3]) / (12 * Step);
        const double backward = gainOf(sensitivity.backward(loss.x, loss.y, loss.z), d);
        const SolutionChange change = sensitivity.forward(viewOf(d));
        const double forward =
            product(loss.x, change.x) + product(loss.y, change.y) + product(loss.z, change.z);
        const double size = std::max(1.0, std::abs(difference));
        EXPECT_NEAR(backward, difference, 1e-7 * size) << "seed " << seed;
        EXPECT_NEAR(forward, difference, 1e-7 * size) << "seed " << seed;
    }
    EXPECT_GE(compared, 200);
}

TEST_F(Sensitivities, OfManyRightHandSidesAreThoseOfEach) {
    const Sample s = differentiable(7);
    const Result r = solve(s.view());
    ASSERT_TRUE(r);
    const Sensitivity sensitivity(r, s.view());
    std::mt19937_64 bits(1);
    const Numbers dx = randomNumbers(bits, 2 * s.n);
    const Gradients both = sensitivity.backward(MatrixView(dx, s.n, 2));
    const Gradients second = sensitivity.backward(VectorView(dx.data() + s.n, s.n));
    ASSERT_EQ(both.H.size(), 2 * s.n * s.n);
    for (std::size_t k = 0; k < s.n * s.n; ++k) {
        EXPECT_NEAR(both.H[s.n * s.n + k], second.H[k], 1e-13);
    }
    for (std::size_t k = 0; k < s.n * s.m; ++k) {
        EXPECT_NEAR(both.A[s.n * s.m + k], second.A[k], 1e-13);
    }
}

// min ½x² − c·x, x ≤ 1, at c = 1: x = min(c, 1).
TEST_F(Sensitivities, WhereAMultiplierIsZeroAreOneSidedAndSaySo) {
    const double H[] = {1.0}, c[] = {-1.0}, upper[] = {1.0}, one[] = {1.0};
    const Problem problem{.H = {H, 1, 1}, .c = c, .upper = upper};
    Result r = solve(problem);
    ASSERT_TRUE(r);
    for (const bool isHeld : {false, true}) {
        r.workingSet.atUpper = isHeld ? std::vector<std::size_t>{0} : std::vector<std::size_t>{};
        const Sensitivity s(r, problem);
        EXPECT_EQ(s.smoothness().derivative, Derivative::OneSided);
        EXPECT_EQ(s.smoothness().weakBounds, std::vector<std::size_t>{0});
        EXPECT_DOUBLE_EQ(s.backward(one).c[0], isHeld ? 0.0 : -1.0);
        EXPECT_DOUBLE_EQ(s.backward(one).upper[0], isHeld ? 1.0 : 0.0);
    }
}

// x₀ + x₁ = 1, twice. x still follows c. Any split of the multiplier is valid; the shortest is in
// halves.
TEST_F(Sensitivities, OfDependentRowsAreTheShortest) {
    const double H[] = {1, 0, 0, 1}, c[] = {0, 0}, A[] = {1, 1, 1, 1}, sides[] = {1, 1};
    const Problem problem{
        .H = {H, 2, 2}, .c = c, .A = {A, 2, 2}, .rowLower = sides, .rowUpper = sides};
    const Result r = solve(problem);
    ASSERT_TRUE(r);
    const Sensitivity s(r, problem);
    EXPECT_EQ(s.smoothness().derivative, Derivative::LeastSquares);
    EXPECT_EQ(s.smoothness().dependent, 1U);
    const double dc[] = {1, 0};
    const SolutionChange change = s.forward({.c = dc});
    EXPECT_NEAR(change.x[0], -0.5, 1e-14);
    EXPECT_NEAR(change.x[1], 0.5, 1e-14);
    EXPECT_NEAR(change.y[0], -0.25, 1e-14);
    EXPECT_NEAR(change.y[1], -0.25, 1e-14);
}

// H = diag(1, 0). The objective does not determine x₁, and its shortest change is 0.
TEST_F(Sensitivities, WhereTheObjectiveIsFlatAreTheShortest) {
    const double H[] = {1, 0, 0, 0}, c[] = {-1, 0}, dx[] = {1, 1};
    const Problem problem{.H = {H, 2, 2}, .c = c};
    const Result r = solve(problem);
    ASSERT_TRUE(r);
    const Sensitivity s(r, problem);
    EXPECT_EQ(s.smoothness().derivative, Derivative::LeastSquares);
    EXPECT_EQ(s.smoothness().flat, 1U);
    EXPECT_NEAR(s.backward(dx).c[0], -1.0, 1e-14);
    EXPECT_NEAR(s.backward(dx).c[1], 0.0, 1e-14);
}

TEST_F(Sensitivities, RefuseWhatDoesNotFit) {
    const Sample s = differentiable(7);
    const Sample other = differentiable(9);
    const Result r = solve(s.view());
    ASSERT_TRUE(r);
    const auto refusal = [](const Result& result, const Problem& problem) -> std::string {
        try {
            const Sensitivity sensitivity(result, problem);
        } catch (const std::invalid_argument& error) {
            return error.what();
        }
        return "";
    };
    EXPECT_THAT(refusal(r, other.view()), testing::HasSubstr("of another problem"));
    Sample shifted = s;
    shifted.c[0] += 1.0;
    EXPECT_THAT(refusal(r, shifted.view()), testing::HasSubstr("multipliers do not fit"));
    Sample wrong = s;
    wrong.c[0] = std::nan("");
    EXPECT_THAT(refusal(r, wrong.view()), testing::HasSubstr("has faults"));
    Result limited = r;
    limited.status = Status::IterationLimit;
    EXPECT_THAT(refusal(limited, s.view()), testing::HasSubstr("not optimal but iteration limit"));
    Result broken = r;
    broken.workingSet.atLower.push_back(s.n);
    EXPECT_THAT(refusal(broken, s.view()), testing::HasSubstr("does not have"));
    const Sensitivity sensitivity(r, s.view());
    const Numbers tooLong(s.n + 1, 1.0);
    EXPECT_THROW(static_cast<void>(sensitivity.backward(tooLong)), std::invalid_argument);
    EXPECT_THROW(static_cast<void>(sensitivity.forward({.c = tooLong})), std::invalid_argument);
}

}  // namespace
}  // namespace activeset::test
