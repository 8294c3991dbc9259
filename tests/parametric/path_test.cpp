// Optima along a parameter, compared with optima of single solves.
#include "activeset/path.hpp"

#include <gmock/gmock.h>

#include <cmath>
#include <random>
#include <stdexcept>

#include "frontend/generator.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

class Paths : public FreshState {};

struct Rates {
    Numbers c, rowLower, rowUpper, lower, upper;
    [[nodiscard]] Direction view() const { return {c, rowLower, rowUpper, lower, upper}; }
};

// Half of the rates are small integers, so that several events coincide. Equal sides stay equal.
Rates randomRates(const Sample& s, unsigned seed) {
    std::mt19937_64 bits(seed);
    std::normal_distribution<double> normal;
    const bool integral = seed % 2 == 0;
    const auto number = [&] {
        return integral ? static_cast<double>(bits() % 5) - 2.0 : normal(bits);
    };
    Rates d;
    for (std::size_t j = 0; j < s.n; ++j) {
        d.c.push_back(number());
        d.lower.push_back(seed % 3 == 0 ? number() : 0.0);
        d.upper.push_back(s.lower[j] == s.upper[j] ? d.lower[j] : d.lower[j] + std::abs(number()));
    }
    for (std::size_t i = 0; i < s.m; ++i) {
        d.rowLower.push_back(seed % 3 == 1 ? number() : 0.0);
        d.rowUpper.push_back(s.rowLower[i] == s.rowUpper[i] ? d.rowLower[i]
                                                            : d.rowLower[i] + std::abs(number()));
    }
    return d;
}

Sample at(Sample s, const Rates& d, double t) {
    const auto move = [t](Numbers& values, const Numbers& rates) {
        for (std::size_t k = 0; k < values.size(); ++k) {
            values[k] += t * rates[k];
        }
    };
    move(s.c, d.c);
    move(s.rowLower, d.rowLower);
    move(s.rowUpper, d.rowUpper);
    move(s.lower, d.lower);
    move(s.upper, d.upper);
    for (std::size_t i = 0; i < s.m; ++i) {
        s.rowUpper[i] = std::max(s.rowLower[i], s.rowUpper[i]);
    }
    return s;
}

// Checks 200 parameters: an optimum while the path goes on, none after its end.
void expectRight(const Sample& s, const Rates& d, double last, bool isStrictlyConvex) {
    const Path path(s.view(), d.view(), 0.0, last);
    ASSERT_THAT(path.status(),
                testing::AnyOf(Status::Optimal, Status::Infeasible, Status::Unbounded))
        << path.message() << " at " << path.end();
    EXPECT_EQ(path.status() == Status::Optimal, path.end() == last);
    for (int k = 0; k <= 200; ++k) {
        const double t = last * k / 200.0;
        if (std::abs(t - path.end()) < 1e-6 * last && path.end() < last) {
            continue;  // rounding decides here
        }
        const Result r = solve(at(s, d, t).view());
        if (t > path.end()) {
            EXPECT_EQ(r.status, path.status()) << "t " << t;
            continue;
        }
        ASSERT_EQ(r.status, Status::Optimal) << "t " << t;
        const PathPoint p = path.at(t);
        EXPECT_NEAR(p.objective, r.objective, 1e-8 * std::max(1.0, std::abs(r.objective)));
        for (std::size_t j = 0; j < s.n && isStrictlyConvex; ++j) {
            EXPECT_NEAR(p.x[j], r.x[j], 1e-7 * std::max(1.0, std::abs(r.x[j]))) << "t " << t;
        }
    }
}

TEST_F(Paths, OfStrictlyConvexProblemsAreTheOptima) {
    for (unsigned seed = 0; seed < 60; ++seed) {
        SCOPED_TRACE(seed);
        const Sample s = randomSample(seed, 8, false);
        expectRight(s, randomRates(s, seed), 4.0, true);
    }
}

TEST_F(Paths, OfAnyConvexProblemsEndWithTheProof) {
    int ends[3] = {};
    for (unsigned seed = 0; seed < 400; ++seed) {
        SCOPED_TRACE(seed);
        const Sample s = randomSample(seed, 6, true);
        if (const Result r = solve(s.view()); !r || r.hessianShift != 0.0) {
            continue;
        }
        const Rates d = randomRates(s, seed);
        const Path path(s.view(), d.view(), 0.0, 4.0);
        expectRight(s, d, 4.0, false);
        ends[path.status() == Status::Optimal ? 0 : path.status() == Status::Infeasible ? 1 : 2]++;
    }
    for (const int count : ends) {
        EXPECT_GE(count, 3);
    }
}

// Without costs any feasible point is an optimum until costs move. Many constraints meet at every
// breakpoint.
TEST_F(Paths, OfProblemsWithoutObjectiveGoOn) {
    for (unsigned seed = 0; seed < 150; ++seed) {
        SCOPED_TRACE(seed);
        Sample s = randomSample(seed, 5, true);
        s.H.assign(s.H.size(), 0.0);
        s.c.assign(s.c.size(), 0.0);
        if (!solve(s.view())) {
            continue;
        }
        const Rates d = randomRates(s, 2 * seed);
        const Path path(s.view(), d.view(), 0.0, 4.0);
        EXPECT_THAT(path.status(),
                    testing::AnyOf(Status::Optimal, Status::Infeasible, Status::Unbounded))
            << path.message() << " at " << path.end();
        for (const Piece& piece : path.pieces()) {
            const double t = 0.5 * (piece.from + piece.to);
            const Result r = solve(at(s, d, t).view());
            ASSERT_EQ(r.status, Status::Optimal) << "t " << t;
            EXPECT_NEAR(path.at(t).objective, r.objective,
                        1e-8 * std::max(1.0, std::abs(r.objective)));
        }
    }
}

// min ½x² − t·x, x ≤ 1: x = t up to t = 1, then x = 1 with the multiplier t − 1.
TEST_F(Paths, HaveTheirBreakpointsExactly) {
    const double H[] = {1.0}, c[] = {0.0}, upper[] = {1.0}, rate[] = {-1.0};
    const Path path({.H = {H, 1, 1}, .c = c, .upper = upper}, {.c = rate}, 0.0, 3.0);
    ASSERT_EQ(path.pieces().size(), 2U);
    const Piece& first = path.pieces()[0];
    const Piece& second = path.pieces()[1];
    EXPECT_EQ(first.to, 1.0);
    EXPECT_EQ(first.dx[0], 1.0);
    EXPECT_EQ(first.curvature, -1.0);
    EXPECT_EQ(second.workingSet.atUpper, std::vector<std::size_t>{0});
    EXPECT_EQ(second.dz[0], 1.0);
    EXPECT_EQ(path.at(3.0).z[0], 2.0);
    EXPECT_EQ(path.at(3.0).objective, -2.5);
}

// min −x, x ≤ 1 + t, 0·x ≤ 1 − t is infeasible for t > 1. min −t·x, x ≥ 0 is unbounded for t > 0.
TEST_F(Paths, EndWhereTheyMust) {
    const double minus[] = {-1.0}, upper[] = {1.0}, one[] = {1.0}, A[] = {0.0};
    const Path first({.c = minus, .A = {A, 1, 1}, .rowUpper = one, .upper = upper},
                     {.rowUpper = minus, .upper = one}, 0.0, 2.0);
    EXPECT_EQ(first.status(), Status::Infeasible);
    EXPECT_NEAR(first.end(), 1.0, 1e-9);
    EXPECT_GT(first.farkas().y[0], 0.0);
    EXPECT_EQ(first.pieces().back().x[0] + first.pieces().back().dx[0], 2.0);
    const double zero[] = {0.0};
    const Path second({.c = zero, .lower = zero}, {.c = minus}, -1.0, 1.0);
    EXPECT_EQ(second.status(), Status::Unbounded);
    EXPECT_NEAR(second.end(), 0.0, 1e-9);
    EXPECT_GT(second.direction()[0], 0.0);
    const double two[] = {2.0};
    const Path crossed({.c = one, .lower = one, .upper = two}, {.upper = minus}, 0.0, 3.0);
    EXPECT_EQ(crossed.status(), Status::Infeasible);
    EXPECT_EQ(crossed.end(), 1.0);
    EXPECT_THAT(crossed.message(), testing::HasSubstr("variable 0 cross"));
    const double apart[] = {1e308}, below[] = {-1e308};  // their difference has no double
    EXPECT_EQ(
        Path({.c = zero, .lower = zero, .upper = one}, {.lower = below, .upper = apart}, 0.0, 1.0)
            .status(),
        Status::Optimal);
}

TEST_F(Paths, RefuseWhatDoesNotFit) {
    const double one[] = {1.0}, two[] = {1.0, 2.0}, infinite[] = {Infinity};
    const Problem problem{.c = one, .lower = one};
    EXPECT_THROW(Path(problem, {.c = two}, 0, 1), std::invalid_argument);
    EXPECT_THROW(Path(problem, {.c = infinite}, 0, 1), std::invalid_argument);
    EXPECT_THROW(Path(problem, {.c = {nullptr, 1}}, 0, 1), std::invalid_argument);
    EXPECT_THROW(Path(problem, {.c = one}, 1, 0), std::invalid_argument);
    EXPECT_THROW(Path(problem, {.c = one}, -1e308, 1e308), std::invalid_argument);
    const double huge[] = {1e308};
    EXPECT_THROW(Path(problem, {.lower = huge}, 0, 10), std::invalid_argument);
    EXPECT_THROW(Path(problem, {.c = one}, 0, Infinity), std::invalid_argument);
    EXPECT_THROW(static_cast<void>(Path(problem, {.c = one}, 0, 1).at(2.0)), std::invalid_argument);
}

}  // namespace
}  // namespace activeset::test
