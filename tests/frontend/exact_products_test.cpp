// Double-double arithmetic, compared with rational numbers, for every instruction set here.
#include <gtest/gtest.h>

#include <boost/multiprecision/cpp_int.hpp>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "frontend/algebra/double_double.hpp"
#include "frontend/algebra/exact_products.hpp"
#include "frontend/instruction_sets.hpp"

namespace activeset::frontend {

namespace {

using Rational = boost::multiprecision::cpp_rational;

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

class Numbers {
public:
    explicit Numbers(unsigned seed) : random_(seed) {}

    /// A number of either sign with 53 digits. Magnitudes differ by up to 2^spread.
    double next(int spread) {
        std::uniform_int_distribution<int> exponents(-spread / 2, spread / 2);
        return std::ldexp(std::uniform_real_distribution<double>(-1.0, 1.0)(random_),
                          exponents(random_));
    }
    bool oneOf(unsigned many) { return random_() % many == 0; }

private:
    std::mt19937 random_;
};

/// A matrix with NaN in the gaps between its columns, and a vector for which sums cancel.
struct Case {
    std::size_t rows;
    std::size_t cols;
    std::size_t ld;
    std::vector<double> a;
    std::vector<double> x;

    Case(std::size_t rowCount, std::size_t colCount, bool transposed, int exponent, unsigned zeros)
        : rows(rowCount),
          cols(colCount),
          ld(rows + 3),
          a(ld * cols, NaN),
          x(transposed ? rows : cols) {
        Numbers numbers(static_cast<unsigned>(rows * 100 + cols + zeros));
        for (std::size_t k = 0; k < x.size(); ++k) {
            x[k] =
                zeros != 0 && !numbers.oneOf(zeros) ? 0.0 : std::ldexp(numbers.next(40), exponent);
        }
        for (std::size_t j = 0; j < cols; ++j) {
            for (std::size_t i = 0; i < rows; ++i) {
                a[i + j * ld] = std::ldexp(numbers.next(40), exponent);
                const std::size_t k = transposed ? i : j;
                if (k % 2 == 1) {  // cancels the previous term almost completely
                    const double other = transposed ? a[i - 1 + j * ld] : a[i + (j - 1) * ld];
                    a[i + j * ld] =
                        x[k] != 0.0 && x[k - 1] != 0.0 ? -other * (x[k - 1] / x[k]) : 0.0;
                }
            }
        }
    }
    [[nodiscard]] ColumnMajor matrix() const { return {a.data(), rows, cols, ld}; }
};

struct Sums {
    std::vector<double> value, rest, scale;

    explicit Sums(std::size_t count) : value(count, NaN), rest(count, NaN), scale(count, NaN) {}
    SumsView view() { return {value.data(), rest.data(), scale.data()}; }
    bool operator==(const Sums&) const = default;
};

void expectExact(const Case& problem, bool transposed, const Sums& sums) {
    for (std::size_t k = 0; k < sums.value.size(); ++k) {
        Rational sum = 0;
        Rational scale = 0;
        for (std::size_t e = 0; e < problem.x.size(); ++e) {
            const double entry =
                transposed ? problem.a[e + k * problem.ld] : problem.a[k + e * problem.ld];
            const Rational term = Rational(entry) * Rational(problem.x[e]);
            sum += term;
            scale += abs(term);
        }
        const Rational error = Rational(sums.value[k]) + Rational(sums.rest[k]) - sum;
        EXPECT_LE(abs(error), Rational(boundOfRounding(problem.x.size(), sums.scale[k]))) << k;
        const double size = std::abs(sums.value[k]);
        EXPECT_LE(2.0 * std::abs(sums.rest[k]), std::nextafter(size, HUGE_VAL) - size) << k;
        EXPECT_LE(abs(Rational(sums.scale[k]) - scale), Rational(1e-13) * scale + Rational(1e-322))
            << k;
    }
}

TEST(ExactProducts, StayWithinTheirBoundAndHaveTheSameBitsForEachSet) {
    for (const bool transposed : {false, true}) {
        for (const auto& [rows, cols] : {std::pair<std::size_t, std::size_t>{1, 1},
                                         {3, 20},
                                         {8, 8},
                                         {17, 5},
                                         {20, 3},
                                         {40, 19},
                                         {9, 140},
                                         {140, 9},
                                         {70, 70}}) {
            for (const unsigned zeros : {0U, 8U}) {
                for (const int exponent : {0, 200, -250, -520}) {  // the last one is out of range
                    SCOPED_TRACE(std::to_string(rows) + " x " + std::to_string(cols) + " 2^" +
                                 std::to_string(exponent) + (transposed ? " transposed" : "") +
                                 " every " + std::to_string(zeros));
                    const Case problem(rows, cols, transposed, exponent, zeros);
                    Sums chosen(transposed ? cols : rows);
                    (transposed ? exactTransposedProduct : exactProduct)(
                        problem.matrix(), problem.x.data(), chosen.view());
                    expectExact(problem, transposed, chosen);
                    for (const InstructionSet set : instructionSets()) {
                        Sums sums(chosen.value.size());
                        const ExactProducts kernels = exactProducts(set);
                        const bool isInRange = (transposed ? kernels.transposed : kernels.product)(
                            problem.matrix(), problem.x.data(), sums.view());
                        EXPECT_TRUE(isInRange == (exponent > -500) || zeros != 0) << nameOf(set);
                        EXPECT_TRUE(!isInRange || sums == chosen) << nameOf(set);
                    }
                }
            }
        }
    }
}

TEST(ExactProducts, SumInAWiderRangeWhereThereIsOneAndElseShowTheOverflow) {
    const std::vector<double> a{1e200, -1e200, 3.0};
    const std::vector<double> x{1e200, 1e200, 5.0};
    constexpr bool isWide = std::numeric_limits<long double>::max_exponent > 2000;
    for (const bool transposed : {false, true}) {
        Sums sums(1);
        transposed ? exactTransposedProduct({a.data(), 3, 1, 3}, x.data(), sums.view())
                   : exactProduct({a.data(), 1, 3, 1}, x.data(), sums.view());
        EXPECT_FALSE(std::isfinite(sums.scale[0]));
        EXPECT_TRUE(!isWide || sums.value[0] == 15.0);
    }
}

TEST(ExactProducts, OfNothingAreZero) {
    for (const InstructionSet set : instructionSets()) {
        Sums sums(11);
        EXPECT_TRUE(exactProducts(set).product({nullptr, 11, 0, 11}, nullptr, sums.view()));
        EXPECT_EQ(sums.value, std::vector<double>(11, 0.0));
        Sums transposed(11);
        EXPECT_TRUE(exactProducts(set).transposed({nullptr, 0, 11, 0}, nullptr, transposed.view()));
        EXPECT_EQ(transposed.scale, std::vector<double>(11, 0.0));
    }
}

TEST(DoubleDouble, ErrsByTheLastBitsOfBothParts) {
    const auto exact = [](const DoubleDouble& a) {
        return Rational(a.value()) + Rational(a.rest());
    };
    const Rational unit(std::ldexp(1.0, -103));
    Numbers numbers(7);
    for (int k = 0; k < 2000; ++k) {
        const DoubleDouble a = DoubleDouble::sum(numbers.next(4), numbers.next(110));
        const DoubleDouble other = DoubleDouble::sum(numbers.next(4), numbers.next(110));
        const DoubleDouble b = k % 2 == 0 ? other : -a + DoubleDouble(numbers.next(100));
        EXPECT_LE(abs(exact(a + b) - (exact(a) + exact(b))), unit * abs(exact(a) + exact(b)));
        EXPECT_LE(abs(exact(a * b) - exact(a) * exact(b)), unit * abs(exact(a) * exact(b)));
        EXPECT_EQ(a < b, exact(a) < exact(b));
    }
}

}  // namespace

}  // namespace activeset::frontend
