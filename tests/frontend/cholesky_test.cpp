// The Cholesky kernel for every instruction set: its factor, its borders, and what it refuses.
#include "frontend/algebra/cholesky.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "frontend/instruction_sets.hpp"

namespace activeset::frontend {

namespace {

constexpr double Nan = std::numeric_limits<double>::quiet_NaN();
constexpr double Epsilon = std::numeric_limits<double>::epsilon();

/// The lower half of a symmetric matrix with leading dimension `ld`. NaN above the diagonal and
/// after the last row.
struct Half {
    std::size_t n;
    std::size_t ld;
    std::vector<double> values;

    double& operator()(std::size_t i, std::size_t j) { return values[j * ld + i]; }
};

/// Diagonally dominant, its entries random.
Half randomMatrix(std::size_t n) {
    Half a{n, n + 3, std::vector<double>((n + 3) * n, Nan)};
    std::mt19937_64 bits(n);
    std::uniform_real_distribution<double> entry(-1.0, 1.0);
    for (std::size_t j = 0; j < n; ++j) {
        a(j, j) = static_cast<double>(n) + entry(bits);
        for (std::size_t i = j + 1; i < n; ++i) {
            a(i, j) = entry(bits);
        }
    }
    return a;
}

bool factorise(InstructionSet set, Half& a) {
    std::vector<double> work(choleskyWork(a.n), Nan);
    return choleskyKernel(set)({a.values.data(), a.n, a.ld, work.data()});
}

TEST(Cholesky, MultipliesBackToTheMatrixAndLeavesWhatIsBehindItsRows) {
    for (const InstructionSet set : instructionSets()) {
        for (const std::size_t n : {1U, 2U, 7U, 8U, 9U, 24U, 41U, 64U, 65U, 97U, 150U}) {
            Half a = randomMatrix(n);
            Half L = a;
            ASSERT_TRUE(factorise(set, L));
            for (std::size_t j = 0; j < n; ++j) {
                for (std::size_t i = j; i < n; ++i) {
                    double sum = 0.0;
                    double terms = 0.0;
                    for (std::size_t k = 0; k <= j; ++k) {
                        sum += L(i, k) * L(j, k);
                        terms += std::abs(L(i, k) * L(j, k));
                    }
                    ASSERT_LE(std::abs(sum - a(i, j)),
                              static_cast<double>(2 * j + 12) * Epsilon * terms)
                        << nameOf(set) << ' ' << n << ' ' << i << ' ' << j;
                }
                for (std::size_t i = n; i < L.ld; ++i) {
                    ASSERT_TRUE(std::isnan(L(i, j))) << nameOf(set) << ' ' << n << ' ' << j;
                }
            }
        }
    }
}

TEST(Cholesky, HasTheSameBitsForEverySetWithFma) {
    const std::size_t n = 131;
    Half expected = randomMatrix(n);
    if (instructionSet() == InstructionSet::Baseline) {
        GTEST_SKIP() << "one set alone";
    }
    ASSERT_TRUE(factorise(InstructionSet::Avx2, expected));
    Half found = randomMatrix(n);
    ASSERT_TRUE(factorise(instructionSet(), found));
    for (std::size_t j = 0; j < n; ++j) {
        for (std::size_t i = j; i < n; ++i) {
            ASSERT_EQ(found(i, j), expected(i, j)) << i << ' ' << j;
        }
    }
}

TEST(Cholesky, RefusesAPivotThatIsNotPositiveWhereverItStands) {
    for (const InstructionSet set : instructionSets()) {
        for (const std::size_t n : {5U, 72U, 130U}) {
            for (const std::size_t at : {std::size_t{0}, n / 2, n - 1}) {
                for (const double diagonal : {0.0, -1.0, Nan}) {
                    Half a = randomMatrix(n);
                    a(at, at) = diagonal;
                    EXPECT_FALSE(factorise(set, a)) << nameOf(set) << ' ' << n << ' ' << at;
                }
            }
        }
    }
}

}  // namespace

}  // namespace activeset::frontend
