// The factors that a solve has kept solve the equations of its working set.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <stdexcept>

#include "activeset/sensitivity.hpp"
#include "frontend/parametric/kept_factors.hpp"
#include "support/fixture.hpp"
#include "support/problem_builder.hpp"

namespace activeset::test {
namespace {

class KeptFactorsOf : public FreshState {};

const Settings Keeping{.keepFactors = true};

// H has condition 400 and is scaled by a power of two. There are m rows, the first an equality, and
// a box.
Sample sampleOf(std::size_t n, std::size_t m, unsigned seed) {
    std::mt19937_64 bits(seed);
    std::normal_distribution<double> normal;
    const auto numbers = [&](std::size_t count) {
        Numbers values(count);
        std::generate(values.begin(), values.end(), [&] { return normal(bits); });
        return values;
    };
    Sample s;
    s.n = n;
    s.m = m;
    const Numbers root = numbers(n * n);
    s.H.assign(n * n, 0.0);
    for (std::size_t j = 0; j < n; ++j) {
        for (std::size_t i = 0; i < n; ++i) {
            for (std::size_t k = 0; k < n; ++k) {
                s.H[j * n + i] += root[k * n + i] * root[k * n + j] / double(n);
            }
        }
        s.H[j * (n + 1)] += 0.01;
    }
    std::ranges::for_each(s.H, [](double& entry) { entry *= 64.0; });
    s.c = numbers(n);
    std::ranges::for_each(s.c, [](double& entry) { entry *= 8.0; });
    s.A = numbers(m * n);
    s.rowLower.assign(m, -Infinity);
    s.rowUpper.assign(m, 0.02);
    if (m > 0) {
        s.rowLower[0] = 0.02;
    }
    s.lower.assign(n, -0.05);
    s.upper.assign(n, 0.05);
    return s;
}

// For a change of c and all sides: H·dx + dc + Aᵀdy + dz = 0, and active constraints move with
// their sides.
void expectSolution(const Sample& s, const Result& r, const SolutionChange& d, const Sample& by) {
    constexpr double Rounding = 1e-9;
    for (std::size_t j = 0; j < s.n; ++j) {
        double sum = by.c[j] + d.z[j];
        for (std::size_t i = 0; i < s.n; ++i) {
            sum += s.H[j * s.n + i] * d.x[i];
        }
        for (std::size_t i = 0; i < s.m; ++i) {
            sum += s.A[j * s.m + i] * d.y[i];
        }
        EXPECT_NEAR(sum, 0.0, Rounding * (1.0 + std::abs(d.z[j]))) << j;
        if (r.z[j] == 0.0) {
            EXPECT_EQ(d.z[j], 0.0) << j;
        } else {
            EXPECT_EQ(d.x[j], r.z[j] > 0.0 ? by.upper[j] : by.lower[j]) << j;
        }
    }
    for (std::size_t i = 0; i < s.m; ++i) {
        double value = 0.0;
        for (std::size_t j = 0; j < s.n; ++j) {
            value += s.A[j * s.m + i] * d.x[j];
        }
        if (r.y[i] == 0.0) {
            EXPECT_EQ(d.y[i], 0.0) << i;
        } else {
            EXPECT_NEAR(value, r.y[i] > 0.0 ? by.rowUpper[i] : by.rowLower[i], Rounding) << i;
        }
    }
}

// The factors of the method for small problems, of a guess, whose system has no held bounds, and of
// the block dual method.
TEST_F(KeptFactorsOf, EachMethodSolveTheEquations) {
    const Settings plain;
    const Settings general{.startMode = Start::Predict, .maxIterations = 100000};
    for (const auto& [n, m, settings] :
         {std::tuple{30, 20, plain}, {140, 1, plain}, {140, 0, plain}, {60, 50, general}}) {
        Sample s = sampleOf(std::size_t(n), std::size_t(m), 1);
        Settings keeping = settings;
        keeping.keepFactors = true;
        const Result r = solve(s.view(), keeping);
        ASSERT_TRUE(r);
        EXPECT_EQ(r.x, solve(s.view(), settings).x);
        ASSERT_NE(r.factors, nullptr);
        EXPECT_NE(r.factors->system(), nullptr) << n << " variables, " << m << " rows";
        EXPECT_TRUE(r.factors->belongTo(r, s.view()));
        EXPECT_GT(r.workingSet.atLower.size(), 0U);
        const Sensitivity sensitivity(r, s.view());
        EXPECT_EQ(sensitivity.smoothness().derivative, Derivative::Full);
        Sample by = sampleOf(s.n, s.m, 2);
        by.lower = by.c;
        by.upper = by.c;
        by.rowUpper = Numbers(by.A.begin(), by.A.begin() + m);
        by.rowLower = by.rowUpper;
        const SolutionChange change = sensitivity.forward({.c = by.c,
                                                           .rowLower = by.rowLower,
                                                           .rowUpper = by.rowUpper,
                                                           .lower = by.lower,
                                                           .upper = by.upper});
        expectSolution(s, r, change, by);
        s.H[0] *= 2.0;  // the factors are of the H before
        EXPECT_FALSE(r.factors->belongTo(r, s.view()));
    }
}

// Of two equal rows the method for small problems holds one; the working set names both.
TEST_F(KeptFactorsOf, DependentMembersAreNotUsed) {
    Sample s = sampleOf(10, 2, 3);
    for (std::size_t j = 0; j < s.n; ++j) {
        s.A[2 * j + 1] = s.A[2 * j];
    }
    s.rowLower[1] = s.rowUpper[1];
    const Result r = solve(s.view(), Keeping);
    ASSERT_TRUE(r);
    const Sensitivity sensitivity(r, s.view());
    EXPECT_EQ(sensitivity.smoothness().derivative, Derivative::LeastSquares);
    EXPECT_EQ(sensitivity.smoothness().dependent, 1U);
}

TEST_F(KeptFactorsOf, AnotherProblemOrResultAreNotUsed) {
    const Sample s = sampleOf(10, 4, 4);
    const Result kept = solve(s.view(), Keeping);
    ASSERT_TRUE(kept);
    const Numbers dx(s.n, 1.0);
    const auto expectAsWithout = [&](Result changed, const Sample& other) {
        const Gradients with = Sensitivity(changed, other.view()).backward(dx);
        changed.factors.reset();
        const Gradients without = Sensitivity(changed, other.view()).backward(dx);
        EXPECT_EQ(with.c, without.c);
        EXPECT_EQ(with.A, without.A);
    };
    for (auto part : {&Sample::H, &Sample::A, &Sample::c, &Sample::rowUpper}) {
        Sample other = s;
        (other.*part)[0] *= 1.0 + 1e-8;
        expectAsWithout(kept, other);
    }
    Sample moved = s;
    moved.upper[kept.workingSet.atLower.at(0)] += 1.0;
    expectAsWithout(kept, moved);
    Result changed = kept;
    changed.workingSet.atLower.pop_back();
    expectAsWithout(changed, s);
    for (auto part : {&Result::x, &Result::y, &Result::z}) {
        changed = kept;
        (changed.*part)[0] += 1e-9;
        expectAsWithout(changed, s);
    }
    Sample shifted = s;
    shifted.c[0] += 1.0;
    EXPECT_THROW(Sensitivity(kept, shifted.view()), std::invalid_argument);
}

TEST_F(KeptFactorsOf, FaultyViewsAreRefusedUnread) {
    const Sample s = sampleOf(10, 4, 5);
    const Result r = solve(s.view(), Keeping);
    ASSERT_TRUE(r);
    const Numbers few(3, 0.0);
    for (auto part : {&Problem::H, &Problem::A}) {
        Problem problem = s.view();
        problem.*part = MatrixView(VectorView(few), (problem.*part).rows(), s.n);
        EXPECT_THROW(Sensitivity(r, problem), std::invalid_argument);
        problem.*part = MatrixView((s.view().*part).data(), (s.view().*part).rows(), 0);
        EXPECT_THROW(Sensitivity(r, problem), std::invalid_argument);
    }
    Problem faulty = s.view();
    faulty.constant = std::numeric_limits<double>::quiet_NaN();
    EXPECT_THROW(Sensitivity(r, faulty), std::invalid_argument);
    faulty = s.view();
    faulty.start = few;
    EXPECT_THROW(Sensitivity(r, faulty), std::invalid_argument);
    for (auto part : {&Problem::rowLower, &Problem::upper}) {
        Problem problem = s.view();
        problem.*part = few;
        EXPECT_THROW(Sensitivity(r, problem), std::invalid_argument);
    }
}

}  // namespace
}  // namespace activeset::test
