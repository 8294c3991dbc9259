// Random problems with soft sides, compared with the same problems with slack variables, with the
// optimality conditions, and in sequences.
#include <gtest/gtest.h>

#include "frontend/generator.hpp"
#include "frontend/soft_problem.hpp"

namespace activeset::test {
namespace {

/// The same problem with a slack variable and a row for each soft side.
class BySlacks {
public:
    explicit BySlacks(const SoftProblem& soft) : soft_(soft) {
        H_ = {};
        for (std::size_t i = 0; i < soft.m; ++i) {
            Numbers row(soft.n);
            for (std::size_t j = 0; j < soft.n; ++j) {
                row[j] = soft.A[j * soft.m + i];
            }
            addSides(row, soft.rowLower[i], soft.rowUpper[i], soft.rows, i);
        }
        for (std::size_t j = 0; j < soft.n; ++j) {
            Numbers row(soft.n, 0.0);
            row[j] = 1.0;
            addSides(row, soft.lower[j], soft.upper[j], soft.bounds, j);
        }
    }

    [[nodiscard]] Result solve() {
        const std::size_t n = soft_.n;
        const std::size_t all = n + linear_.size();
        H_.assign(all * all, 0.0);
        for (std::size_t k = 0; k < n * n; ++k) {
            H_[k / n * all + k % n] = soft_.H[k];
        }
        Numbers c = soft_.c;
        Numbers lower(n, -Infinity);
        Numbers A(rows_.size() * all, 0.0);
        for (std::size_t s = 0; s < linear_.size(); ++s) {
            H_[(n + s) * (all + 1)] = quadratic_[s];
            c.push_back(linear_[s]);
            lower.push_back(0.0);
        }
        for (std::size_t i = 0; i < rows_.size(); ++i) {
            std::copy(rows_[i].begin(), rows_[i].end(), A.begin() + static_cast<long>(i * all));
            if (slackOf_[i] < linear_.size()) {
                A[i * all + n + slackOf_[i]] = low_[i] > -Infinity ? 1.0 : -1.0;
            }
        }
        return activeset::solve({.H = {H_, all, all},
                                 .c = c,
                                 .A = {A, rows_.size(), all, Order::RowMajor},
                                 .rowLower = low_,
                                 .rowUpper = high_,
                                 .lower = lower});
    }

private:
    void addSides(
        const Numbers& row, double low, double high, const OwnedPenalty& penalty, std::size_t i) {
        addSide(row, low, Infinity, low, penalty.lowerLinear[i], penalty.lowerQuadratic[i]);
        addSide(row, -Infinity, high, high, penalty.upperLinear[i], penalty.upperQuadratic[i]);
    }
    void addSide(const Numbers& row, double low, double high, double side, double l, double q) {
        if (std::isfinite(side)) {
            rows_.push_back(row);
            low_.push_back(low);
            high_.push_back(high);
            slackOf_.push_back(l < Infinity ? linear_.size() : 1000);
            if (l < Infinity) {
                linear_.push_back(l);
                quadratic_.push_back(q);
            }
        }
    }

    const SoftProblem& soft_;
    Numbers H_, low_, high_, linear_, quadratic_;
    std::vector<Numbers> rows_;
    std::vector<std::size_t> slackOf_;
};

/// Checks the optimality conditions side by side, in plain arithmetic.
class Conditions {
public:
    Conditions(const SoftProblem& soft, const Result& result) : soft_(soft), result_(result) {}

    void check() {
        Numbers slope = soft_.c;
        Numbers values(soft_.m, 0.0);
        double objective = 0.0;
        for (std::size_t j = 0; j < soft_.n; ++j) {
            for (std::size_t k = 0; k < soft_.n; ++k) {
                slope[j] += soft_.H[k * soft_.n + j] * result_.x[k];
            }
            objective += 0.5 * (slope[j] + soft_.c[j]) * result_.x[j];
            for (std::size_t i = 0; i < soft_.m; ++i) {
                values[i] += soft_.A[j * soft_.m + i] * result_.x[j];
                slope[j] += soft_.A[j * soft_.m + i] * result_.y[i];
            }
            EXPECT_NEAR(slope[j] + result_.z[j], 0.0, 1e-7);
        }
        const ViolatedSides& violated = result_.workingSet.softViolated;
        for (std::size_t i = 0; i < soft_.m; ++i) {
            checkSide(soft_.rowLower[i] - values[i], soft_.rows.lower(i), -result_.y[i],
                      isIn(violated.rowsAtLower, i));
            checkSide(values[i] - soft_.rowUpper[i], soft_.rows.upper(i), result_.y[i],
                      isIn(violated.rowsAtUpper, i));
        }
        for (std::size_t j = 0; j < soft_.n; ++j) {
            checkSide(soft_.lower[j] - result_.x[j], soft_.bounds.lower(j), -result_.z[j],
                      isIn(violated.atLower, j));
            checkSide(result_.x[j] - soft_.upper[j], soft_.bounds.upper(j), result_.z[j],
                      isIn(violated.atUpper, j));
        }
        EXPECT_NEAR(result_.objective, objective + cost_, 1e-7 * (1.0 + std::abs(objective)));
    }

private:
    static bool isIn(const std::vector<std::size_t>& list, std::size_t index) {
        return std::count(list.begin(), list.end(), index) == 1;
    }
    void checkSide(double over, Price price, double multiplier, bool isListed) {
        constexpr double Close = 1e-7;
        if (price.linear == Infinity) {
            EXPECT_LE(over, Close);
        } else if (over > Close) {
            cost_ += (price.linear + 0.5 * price.quadratic * over) * over;
            EXPECT_NEAR(multiplier, price.linear + price.quadratic * over,
                        Close * (1.0 + price.linear));
            EXPECT_TRUE(isListed);
        } else {
            EXPECT_LE(multiplier, price.linear + price.quadratic * Close);
        }
        if (over < -Close) {
            EXPECT_LE(multiplier, Close);
            EXPECT_FALSE(isListed);
        }
    }

    const SoftProblem& soft_;
    const Result& result_;
    double cost_ = 0.0;
};

TEST(RandomSoftSides, AreSlackVariables) {
    std::size_t optimal = 0;
    std::size_t infeasible = 0;
    std::size_t violating = 0;
    for (unsigned seed = 0; seed < 600; ++seed) {
        SCOPED_TRACE(seed);
        const SoftProblem soft(seed);
        const Result result = solve(soft.soft());
        const Result expected = BySlacks(soft).solve();
        ASSERT_EQ(textOf(result.status), textOf(expected.status)) << result.message;
        if (!result) {
            infeasible += result.status == Status::Infeasible ? 1U : 0U;
            continue;
        }
        EXPECT_TRUE(result.certificate.holds(1e-9));
        EXPECT_NEAR(result.objective, expected.objective,
                    1e-8 * (1.0 + std::abs(expected.objective)));
        Conditions(soft, result).check();
        ++optimal;
        violating += result.workingSet.softViolated.size() != 0 ? 1U : 0U;
    }
    EXPECT_GT(optimal, 250U);
    EXPECT_GT(infeasible, 20U);
    EXPECT_GT(violating, 120U);
}

TEST(RandomSoftSides, WithLargePenaltiesAreHard) {
    for (unsigned seed = 0; seed < 300; ++seed) {
        SCOPED_TRACE(seed);
        SoftProblem soft(seed);
        const Result hard = solve(soft.hard());
        if (!hard) {
            continue;
        }
        for (Numbers* linear : {&soft.rows.lowerLinear, &soft.rows.upperLinear}) {
            linear->assign(soft.m, 1e6);
        }
        soft.bounds = {};
        const Result result = solve(soft.soft());
        ASSERT_TRUE(result);
        EXPECT_EQ(result.workingSet.softViolated.size(), 0U);
        EXPECT_NEAR(result.objective, hard.objective, 1e-9 * (1.0 + std::abs(hard.objective)));
    }
}

// The dual method with caps on its multipliers finds the piece, so that one solve suffices.
TEST(RandomSoftSides, WithLinearPenaltiesAreFoundAtOnce) {
    std::size_t violating = 0;
    std::size_t more = 0;  // rounds beyond one for the dual method and one for the piece
    for (unsigned seed = 0; seed < 300; ++seed) {
        SCOPED_TRACE(seed);
        SoftProblem soft(seed);
        for (std::size_t j = 0; j < soft.n; ++j) {
            soft.H[j * (soft.n + 1)] += 1.0;
            soft.c[j] += 0.1 * std::sin(static_cast<double>(seed + 3 * j));  // no ties
        }
        for (std::size_t i = 0; i < soft.m; ++i) {
            if (soft.rowLower[i] == soft.rowUpper[i]) {
                soft.rowUpper[i] += 1.0;
            }
        }
        const double price = 0.25 + seed % 7;
        soft.rows = {Numbers(soft.m, price), Numbers(soft.m, 0.5 * price), {}, {}};
        soft.bounds = {};
        const Problem problem{.H = {soft.H, soft.n, soft.n},
                              .c = soft.c,
                              .A = {soft.A, soft.m, soft.m == 0 ? 0 : soft.n},
                              .rowLower = soft.rowLower,
                              .rowUpper = soft.rowUpper,
                              .lower = soft.lower,
                              .upper = soft.upper,
                              .rowPenalty = soft.rows.view()};
        const Result result = solve(problem);
        if (result && result.workingSet.softViolated.size() > 0) {
            ++violating;
            more += result.iterations.prediction > 2 ? 1U : 0U;
        }
    }
    EXPECT_GT(violating, 100U);
    EXPECT_LE(more, violating / 10);
}

TEST(RandomSoftSides, StayInASequence) {
    for (unsigned seed = 0; seed < 60; ++seed) {
        SCOPED_TRACE(seed);
        SoftProblem soft(seed);
        Solver solver(soft.soft());
        const WarmStart first = solver.solve().warmStart();
        for (double& value : soft.c) {
            value += 0.1;
        }
        solver.setLinear(soft.c);
        Problem problem = soft.soft();
        problem.warmStart = &first;
        const Result alone = solve(problem);
        const Result next = solver.solve();
        ASSERT_EQ(textOf(next.status), textOf(alone.status));
        if (alone) {
            EXPECT_NEAR(next.objective, alone.objective, 1e-9 * (1.0 + std::abs(alone.objective)));
        }
        solver.setPenalties({});
        EXPECT_EQ(textOf(solver.solve().status), textOf(solve(soft.hard()).status));
    }
}

// Penalties that are the multipliers of the hard problem, or a little less: which sides are
// violated is a matter of rounding.
TEST(RandomSoftSides, HaveNoMultiplierAboveItsPenalty) {
    int compared = 0;
    int unproved = 0;
    for (unsigned seed = 1; seed < 200; seed += 2) {
        const Sample sample = randomSample(seed, 20, false);
        Problem problem = sample.view();
        const Result hard = solve(problem);
        if (!hard) {
            continue;
        }
        for (const double share : {1.0, 1.0 - 2e-16, 1.0 - 5e-14}) {
            Numbers prices;
            for (const double y : hard.y) {
                prices.push_back(y == 0.0 ? 1.0 : std::abs(y) * share);
            }
            problem.rowPenalty = {.lowerLinear = prices, .upperLinear = prices};
            const Result soft = solve(problem);
            unproved += soft ? 0 : 1;
            for (std::size_t i = 0; i < prices.size() && soft; ++i) {
                EXPECT_LE(std::abs(soft.y[i]), prices[i]) << "seed " << seed;
                compared += soft.y[i] == 0.0 ? 0 : 1;
            }
        }
    }
    EXPECT_GT(compared, 300);
    EXPECT_LE(unproved, compared / 100);
}

}  // namespace
}  // namespace activeset::test
