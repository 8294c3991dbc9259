// Expectations about errors, matrices, factorisations and printed text.
#ifndef ACTIVESET_TESTS_SUPPORT_EXPECT_HPP
#define ACTIVESET_TESTS_SUPPORT_EXPECT_HPP

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <string>

#include "activeset/sizes.hpp"
#include "support/build.hpp"
#include "support/folders.hpp"

namespace activeset::test {

inline constexpr const char* MatrixFault = "optim:optimHstError:unhandledError";

/// The action must raise exactly this identifier and text.
template <class Action>
void expectRaises(const std::string& identifier, const std::string& text, Action action) {
    try {
        action();
        ADD_FAILURE() << "nothing raised, expected " << identifier << ": " << text;
    } catch (const HostError& error) {
        EXPECT_EQ(error.identifier(), identifier);
        EXPECT_EQ(std::string(error.what()), text);
    }
}

template <class Action>
void expectAssertion(const std::string& text, Action action) {
    expectRaises(AssertionIdentifier, text, action);
}

/// The content of tests/golden/`name`. Printed output must equal it in every character.
inline std::string golden(const std::string& name) {
    std::ifstream file(goldenFolder() + "/" + name, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << "no golden file " << name;
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Same shape, every element within `tolerance` (0: the same value).
inline void expectNear(const OPTMatrix<double>& actual, const Rows& expected, double tolerance) {
    ASSERT_EQ(actual.getRows(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i) {
        ASSERT_EQ(actual.getCols(), expected[i].size());
        for (size_t j = 0; j < expected[i].size(); ++j) {
            EXPECT_NEAR(actual(i, j), expected[i][j], tolerance) << "at (" << i << ", " << j << ")";
        }
    }
}

inline double largestEntry(const OPTMatrix<double>& m) {
    double largest = 0.0;
    for (const double value : values(m)) {
        largest = std::max(largest, std::abs(value));
    }
    return largest;
}

/// Expects that up to rounding Aw = Q·R over the working set, QᵀQ = I, and R is upper triangular.
inline void expectFactorises(NullSpaceAS& solver) {
    const size_t n = OPTsizes::getnVar();
    const size_t m = ActiveSet::getmaConstr();
    OPTMatrix<double>& Q = solver.getQ();
    OPTMatrix<double>& R = solver.getQRwset();
    OPTMatrix<double>& Aw = solver.getAw();
    const double tolerance = 100.0 * static_cast<double>(n) * Eps;
    for (size_t i = 0; i < n; ++i) {
        for (size_t j = 0; j < n; ++j) {
            double dot = 0.0;
            for (size_t k = 0; k < n; ++k) {
                dot += Q(k, i) * Q(k, j);
            }
            EXPECT_NEAR(dot, i == j ? 1.0 : 0.0, tolerance) << "QtQ at " << i << ", " << j;
        }
    }
    for (size_t j = 0; j < m; ++j) {
        for (size_t i = 0; i < n; ++i) {
            double product = 0.0;
            for (size_t k = 0; k <= j; ++k) {
                product += Q(i, k) * R(k, j);
            }
            EXPECT_NEAR(product, Aw(i, j), tolerance * std::max(1.0, largestEntry(Aw)))
                << "QR at " << i << ", " << j;
            if (i > j && i < m) {
                EXPECT_EQ(R(i, j), 0.0) << "below the diagonal at " << i << ", " << j;
            }
        }
    }
}

}  // namespace activeset::test

#endif
