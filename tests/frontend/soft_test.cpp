// Soft sides against the same problem with a slack variable and a row for each, and against hand
// arithmetic.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <stdexcept>
#include <vector>

#include "activeset/qp.hpp"
#include "activeset/ranges.hpp"

namespace activeset {
namespace {

using Numbers = std::vector<double>;
using ::testing::DoubleNear;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

/// Of a side.
struct Price {
    double linear;
    double quadratic;
};

struct OwnedPenalty {
    Numbers lowerLinear, upperLinear, lowerQuadratic, upperQuadratic;

    [[nodiscard]] Price lower(std::size_t i) const { return {lowerLinear[i], lowerQuadratic[i]}; }
    [[nodiscard]] Price upper(std::size_t i) const { return {upperLinear[i], upperQuadratic[i]}; }
    [[nodiscard]] Penalty view() const {
        return {lowerLinear, upperLinear, lowerQuadratic, upperQuadratic};
    }
};

/// A random problem that owns its data: strict, singular or linear; sides absent, equal, hard, or
/// soft in either or both norms; half of them of small integers, so that much of it ties.
struct SoftProblem {
    std::size_t n;
    std::size_t m;
    Numbers H, c, A, rowLower, rowUpper, lower, upper;
    OwnedPenalty rows, bounds;

    explicit SoftProblem(unsigned seed) : bits_(seed) {
        isInteger_ = pick(2) == 0;
        n = 1 + pick(6);
        m = pick(9);
        const std::size_t rank = std::vector<std::size_t>{n, n, pick(n + 1), 0}[pick(4)];
        H.assign(n * n, 0.0);
        for (std::size_t r = 0; r < rank; ++r) {
            const Numbers g = many(n);
            for (std::size_t k = 0; k < n * n; ++k) {
                H[k] += g[k / n] * g[k % n];
            }
        }
        for (std::size_t j = 0; rank == n && j < n; ++j) {
            H[j * (n + 1)] += 1.0;
        }
        c = many(n);
        A = many(m * n);
        addSides(m, rowLower, rowUpper, rows, 3);
        addSides(n, lower, upper, bounds, 2);
        for (std::size_t j = 0; rank < n && j < n; ++j) {
            lower[j] = std::max(lower[j], -20.0);
            upper[j] = std::min(upper[j], 20.0);
            bounds.lowerLinear[j] = bounds.upperLinear[j] = Infinity;
        }
    }

    [[nodiscard]] Problem hard() const {
        return {.H = {H, n, n},
                .c = c,
                .A = {A, m, m == 0 ? 0 : n},
                .rowLower = rowLower,
                .rowUpper = rowUpper,
                .lower = lower,
                .upper = upper};
    }
    [[nodiscard]] Problem soft() const {
        Problem problem = hard();
        problem.rowPenalty = rows.view();
        problem.boundPenalty = bounds.view();
        return problem;
    }

private:
    std::size_t pick(std::size_t count) { return bits_() % count; }
    double number() {
        return isInteger_ ? static_cast<double>(pick(7)) - 3.0
                          : std::normal_distribution<double>()(bits_);
    }
    Numbers many(std::size_t count) {
        Numbers numbers(count);
        for (double& value : numbers) {
            value = number();
        }
        return numbers;
    }
    void addSides(std::size_t count,
                  Numbers& low,
                  Numbers& high,
                  OwnedPenalty& penalty,
                  std::size_t softness) {
        for (std::size_t i = 0; i < count; ++i) {
            const double at = number();
            const std::size_t kind = pick(6);
            low.push_back(kind == 0 ? at : kind < 3 ? -Infinity : at - std::abs(number()));
            high.push_back(kind == 0 || kind == 5 ? low.back() : at);
            if (kind == 3) {
                high.back() = Infinity;
            }
            for (auto [linear, quadratic] :
                 {std::pair(&penalty.lowerLinear, &penalty.lowerQuadratic),
                  std::pair(&penalty.upperLinear, &penalty.upperQuadratic)}) {
                const std::size_t norm = pick(softness + 1);
                linear->push_back(norm == 0   ? Infinity
                                  : norm == 2 ? 0.0
                                              : 0.1 + std::abs(number()));
                quadratic->push_back(norm < 2 ? 0.0 : 0.1 + std::abs(number()));
            }
        }
    }

    std::mt19937 bits_;
    bool isInteger_ = false;
};

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

/// Side by side what the optimality conditions say, in plain arithmetic.
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

TEST(SoftSides, AreSlackVariables) {
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

TEST(SoftSides, WithLargePenaltiesAreHard) {
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

/// ½(x − 3)² with x ≤ 1.
struct Pulled {
    Numbers one{1}, c{-3}, side{1}, l{1}, q{1}, large{1e3};
    Problem problem{.H = {one, 1, 1}, .c = c, .A = {one, 1, 1}, .rowUpper = side, .constant = 4.5};
};

TEST(SoftSides, CapMultipliersAndBendTheObjective) {
    Pulled pulled;
    pulled.problem.rowPenalty.upperLinear = pulled.l;
    const Result capped = solve(pulled.problem);  // x − 3 + 1 = 0
    EXPECT_THAT(capped.x, ElementsAre(DoubleNear(2, 1e-12)));
    EXPECT_THAT(capped.y, ElementsAre(DoubleNear(1, 1e-12)));
    EXPECT_NEAR(capped.objective, 0.5 + 1.0, 1e-12);
    EXPECT_THAT(capped.workingSet.softViolated.rowsAtUpper, ElementsAre(0));
    EXPECT_EQ(capped.workingSet.size(), 0U);

    pulled.problem.rowPenalty.upperQuadratic = pulled.q;  // x − 3 + 1 + (x − 1) = 0
    EXPECT_THAT(solve(pulled.problem).x, ElementsAre(DoubleNear(1.5, 1e-12)));
    pulled.problem.rowPenalty.upperLinear = {};  // x − 3 + (x − 1) = 0
    const Result bent = solve(pulled.problem);
    EXPECT_THAT(bent.x, ElementsAre(DoubleNear(2, 1e-12)));
    EXPECT_THAT(bent.y, ElementsAre(DoubleNear(1, 1e-12)));

    pulled.problem.rowPenalty = {.upperLinear = pulled.large};
    const Result exact = solve(pulled.problem);
    EXPECT_THAT(exact.x, ElementsAre(1.0));
    EXPECT_THAT(exact.y, ElementsAre(DoubleNear(2, 1e-12)));
    EXPECT_THAT(exact.workingSet.rowsAtUpper, ElementsAre(0));
}

TEST(SoftSides, LeaveOnlyHardOnesToAContradiction) {
    const Numbers c{0, 0};
    const Numbers A{1, 1, 1, 0, 0, 0};  // x ≤ 1, x ≥ 2, x ≥ 3
    const Numbers lower{-Infinity, 2, 3};
    const Numbers upper{1, Infinity, Infinity};
    const Numbers l{Infinity, Infinity, 1};
    const Problem problem{.c = c,
                          .A = {A, 3, 2},
                          .rowLower = lower,
                          .rowUpper = upper,
                          .rowPenalty = {.lowerLinear = l}};
    const Result result = solve(problem);
    ASSERT_EQ(result.status, Status::Infeasible);
    EXPECT_EQ(result.farkas->y[2], 0.0);
    const Conflict conflict = explainInfeasibility(problem);
    EXPECT_THAT(conflict.rowsAtLower, ElementsAre(1));
    EXPECT_THAT(conflict.rowsAtUpper, ElementsAre(0));
    EXPECT_THROW(static_cast<void>(ranges(result, problem)), std::invalid_argument);
}

// −x without the soft x ≤ 1 has no minimum; with a penalty of less than 1 there is none either.
TEST(SoftSides, EndWhatWouldBeUnbounded) {
    const Numbers c{-1};
    const Numbers A{1};
    const Numbers side{1};
    Numbers l{2};
    const Problem problem{
        .c = c, .A = {A, 1, 1}, .rowUpper = side, .rowPenalty = {.upperLinear = l}};
    EXPECT_THAT(solve(problem).x, ElementsAre(DoubleNear(1, 1e-9)));
    l[0] = 0.5;
    const Result result = solve(problem);
    EXPECT_EQ(result.status, Status::Unbounded);
    ASSERT_EQ(result.direction.size(), 1U);
    EXPECT_GT(result.direction[0], 0.0);

    // The work of the pieces, which had no proof, is counted with that of the slack variables.
    const Numbers costs{-1, 0.5};
    const Numbers row{1, -1};
    const Numbers lower{-Infinity, 0};
    const Result slacks = solve({.c = costs, .A = {row, 1, 2}, .rowUpper = side, .lower = lower});
    EXPECT_GT(result.iterations.dual, slacks.iterations.dual);
    EXPECT_GE(result.times.solve, 0.0);
    EXPECT_GE(result.times.setup, 0.0);
}

TEST(SoftSides, StayInASequence) {
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

// All sides are soft, two of them the same but for rounding: a piece between them has no points to
// a solve, the problem has.
TEST(SoftSides, ThatAreAllSoftAreNeverInfeasible) {
    const Numbers H{0.50169649882091349};
    const Numbers c{-1.4524649437552366};
    const Numbers A{2, -2, -2};
    const Numbers rowLower{1, 0, -1.902547857692225e-15};
    const Numbers rowUpper{1.1341832722508833, 0.7566107661762147, 8.0974521423077742e-15};
    const Numbers lower{1};
    const Numbers upper{1.00000000000001};
    const Numbers rowLinear[] = {{100, 13.0612, 1000}, {.01, .102108, 10}, {10, 0, 0}};
    const Numbers boundLinear[] = {{0}, {634.219}, {.1}};
    const Result result = solve({.H = {H, 1, 1},
                                 .c = c,
                                 .A = {A, 3, 1},
                                 .rowLower = rowLower,
                                 .rowUpper = rowUpper,
                                 .lower = lower,
                                 .upper = upper,
                                 .rowPenalty = {rowLinear[0], rowLinear[1], rowLinear[2]},
                                 .boundPenalty = {boundLinear[0], boundLinear[1], boundLinear[2]}});
    EXPECT_EQ(result.status, Status::Optimal);
    EXPECT_NEAR(result.objective, 105.05, 0.01);
}

TEST(SoftSides, RefusePenaltiesThatAreNone) {
    Pulled pulled;
    const auto textOfFault = [&](const Penalty& penalty) {
        pulled.problem.rowPenalty = penalty;
        const Result result = solve(pulled.problem);
        EXPECT_EQ(result.status, Status::Invalid);
        return result.message;
    };
    const Numbers two{1, 1};
    const Numbers negative{-1};
    const Numbers zero{0};
    const Numbers infinite{Infinity};
    EXPECT_EQ(textOfFault({.upperLinear = two}),
              "rowPenalty.upperLinear has 2 entries, expected 1, one per row of A");
    EXPECT_THAT(textOfFault({.upperLinear = negative}),
                HasSubstr("rowPenalty.upperLinear(0) = -1, expected a number from 0 up"));
    EXPECT_THAT(textOfFault({.upperLinear = zero}), HasSubstr("expected more than 0"));
    EXPECT_THAT(textOfFault({.upperQuadratic = infinite}), HasSubstr("expected a finite number"));
    EXPECT_THAT(textOfFault({.lowerLinear = {nullptr, 1}}), HasSubstr("points to no data"));
    Solver solver(pulled.problem);
    EXPECT_EQ(solver.solve().status, Status::Invalid);
    solver.setPenalties({.upperLinear = pulled.l});
    EXPECT_TRUE(solver.solve());
}

}  // namespace
}  // namespace activeset
