// Guesses and dual methods end with a contradiction where there is one, on both roads.
#include <numeric>
#include <random>
#include <string>

#include "support/exact/judge.hpp"
#include "support/fixture.hpp"
#include "support/sample.hpp"

namespace activeset::test {
namespace {

class Contradictions : public FreshState {};

using Numbers = std::vector<double>;

constexpr std::size_t Variables[] = {60, 130, 280};  // beyond 256 the general road guesses

/// Integers; most bounds between which the optimum lies hold there. The first variable has none.
class Box {
public:
    explicit Box(std::size_t n) : bits_(n) {
        s_.n = n;
        s_.H.assign(n * n, 0.0);
        for (std::size_t j = 0; j < n; ++j) {
            for (std::size_t i = 0; i < j; ++i) {
                s_.H[j * n + i] = s_.H[i * n + j] = number(1);
            }
            s_.H[j * n + j] = static_cast<double>(2 * n);
            s_.c.push_back(static_cast<double>(n) * number(4));
            s_.lower.push_back(j == 0 ? -Infinity : -1.0);
            s_.upper.push_back(j == 0 ? Infinity : number(1) + 1.0);
        }
    }
    double number(int most) { return std::uniform_int_distribution<int>(-most, most)(bits_); }
    Numbers row() {
        Numbers a(s_.n);
        for (double& entry : a) {
            entry = number(2);
        }
        return a;
    }
    /// a·x ≤ side
    void add(const Numbers& a, double side) {
        rows_.push_back(a);
        s_.rowLower.push_back(-Infinity);
        s_.rowUpper.push_back(side);
    }
    [[nodiscard]] const Sample& sample() const { return s_; }
    [[nodiscard]] Result solved() {
        s_.m = rows_.size();
        for (std::size_t j = 0; j < s_.n; ++j) {
            for (const Numbers& a : rows_) {
                s_.A.push_back(a[j]);
            }
        }
        return solve(s_.view());
    }

private:
    Sample s_;
    std::vector<Numbers> rows_;
    std::mt19937_64 bits_;
};

Numbers combined(double p, const Numbers& a, double q, const Numbers& b) {
    Numbers sum(a.size());
    std::transform(a.begin(), a.end(), b.begin(), sum.begin(),
                   [=](double x, double y) { return p * x + q * y; });
    return sum;
}

/// Rows whose sides are apart by `gap`: an opposite of one of a parallel pair.
void addOpposites(Box& box, double gap) {
    const Numbers a = box.row();
    box.add(a, 4.0);
    box.add(combined(2.0, a, 0.0, a), 6.0);
    box.add(combined(-3.0, a, 0.0, a), -9.0 - gap);
}

/// A sum of three rows against them.
void addSum(Box& box, double gap) {
    const Numbers a = box.row();
    const Numbers b = box.row();
    const Numbers c = box.row();
    box.add(a, 1.0);
    box.add(b, 2.0);
    box.add(c, 3.0);
    box.add(combined(-1.0, combined(2.0, a, 1.0, b), -1.0, c), -7.0 - gap);
}

/// A row against the bounds of ten variables.
void addRowAgainstBounds(Box& box, double gap) {
    Numbers a(box.sample().n);
    double side = -gap;
    for (std::size_t j = 1; j <= 10; ++j) {
        a[j] = -1.0;
        side -= box.sample().upper[j];
    }
    box.add(a, side);
}

// Rounding may make the guess end before its contradiction shows.
TEST_F(Contradictions, EndMostGuesses) {
    std::size_t guessed = 0;
    for (const std::size_t n : Variables) {
        for (const auto add : {addOpposites, addSum, addRowAgainstBounds}) {
            Box box(n);
            box.add(box.row(), 1.0);
            add(box, 1.0);
            const Result result = box.solved();
            SCOPED_TRACE(std::to_string(n) + " variables, " + std::to_string(box.sample().m));
            ASSERT_EQ(result.status, Status::Infeasible);
            EXPECT_EQ(exact::falseClaim(box.sample(), result), "");
            guessed += result.iterations.dual == 0 ? 1U : 0U;
        }
    }
    EXPECT_GE(guessed, 2 * std::size(Variables));  // of three each
}

// The dual methods need more steps than there are variables to hold all bounds.
TEST_F(Contradictions, EndTheDualMethodsEarly) {
    for (const std::size_t n : Variables) {
        Box box(n);
        for (std::size_t i = 0; i < n; ++i) {
            box.add(box.row(), 4.0);
        }
        Numbers a(n, -1.0);
        a[0] = 0.0;
        box.add(a, -std::accumulate(box.sample().upper.begin() + 1, box.sample().upper.end(), 1.0));
        const Result result = box.solved();
        SCOPED_TRACE(std::to_string(n) + " variables");
        ASSERT_EQ(result.status, Status::Infeasible);
        EXPECT_EQ(exact::falseClaim(box.sample(), result), "");
        EXPECT_LT(result.iterations.dual, n / 2);
    }
}

TEST_F(Contradictions, AreNotFoundWhereSidesMeet) {
    for (const std::size_t n : Variables) {
        for (const auto add : {addOpposites, addSum, addRowAgainstBounds}) {
            Box box(n);
            add(box, 0.0);
            const Result result = box.solved();
            SCOPED_TRACE(std::to_string(n) + " variables, " + std::to_string(box.sample().m));
            ASSERT_EQ(result.status, Status::Optimal);
            EXPECT_EQ(exact::falseClaim(box.sample(), result), "");
        }
    }
}

}  // namespace
}  // namespace activeset::test
