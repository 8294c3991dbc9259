// Two results that must agree in all bits.
#ifndef ACTIVESET_TESTS_FRONTEND_SAME_BITS_HPP
#define ACTIVESET_TESTS_FRONTEND_SAME_BITS_HPP

#include <gtest/gtest.h>

#include <cmath>

#include "activeset/qp.hpp"

namespace activeset::test {

inline void expectSameBits(const Result& result, const Result& expected) {
    ASSERT_EQ(result.status, expected.status);
    EXPECT_EQ(result.message, expected.message);
    EXPECT_EQ(result.exitCode, expected.exitCode);
    EXPECT_EQ(result.faults.size(), expected.faults.size());
    EXPECT_EQ(result.x, expected.x);
    EXPECT_EQ(result.y, expected.y);
    EXPECT_EQ(result.z, expected.z);
    EXPECT_EQ(result.workingSet, expected.workingSet);
    EXPECT_EQ(result.direction, expected.direction);
    EXPECT_EQ(result.wasPredicted, expected.wasPredicted);
    EXPECT_EQ(result.iterations.main, expected.iterations.main);
    EXPECT_EQ(result.iterations.dual, expected.iterations.dual);
    EXPECT_EQ(result.hessianShift, expected.hessianShift);
    EXPECT_EQ(result.certificate.gap.relative, expected.certificate.gap.relative);
    ASSERT_EQ(result.farkas.has_value(), expected.farkas.has_value());
    if (expected.farkas) {
        EXPECT_EQ(result.farkas->y, expected.farkas->y);
    }
    if (!std::isnan(expected.objective) || !std::isnan(result.objective)) {  // not of all ends
        EXPECT_EQ(result.objective, expected.objective);
    }
}

}  // namespace activeset::test

#endif
