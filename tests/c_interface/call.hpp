// A problem of the C interface and the arrays for its results.
#ifndef ACTIVESET_TESTS_C_INTERFACE_CALL_HPP
#define ACTIVESET_TESTS_C_INTERFACE_CALL_HPP

#include <gtest/gtest.h>

#include <cstdint>
#include <utility>
#include <vector>

#include "activeset/activeset.h"
#include "frontend/generator.hpp"

namespace activeset::test {

using Sides = std::vector<std::int8_t>;

/// A problem with the arrays for its result.
struct Call {
    explicit Call(Sample data) : sample(std::move(data)), x(sample.n), y(sample.m), z(sample.n) {
        const auto n = static_cast<std::int64_t>(sample.n);
        const auto m = static_cast<std::int64_t>(sample.m);
        EXPECT_EQ(activeset_problem_new(n, m, &problem), ACTIVESET_OK);
        const auto part = [](const Numbers& values) {
            return values.empty() ? nullptr : values.data();
        };
        EXPECT_EQ(activeset_problem_set_hessian(problem, part(sample.H), 0, ACTIVESET_COLUMN_MAJOR),
                  ACTIVESET_OK);
        EXPECT_EQ(activeset_problem_set_linear(problem, part(sample.c), 0.0), ACTIVESET_OK);
        EXPECT_EQ(activeset_problem_set_rows(problem, part(sample.A), 0, ACTIVESET_COLUMN_MAJOR),
                  ACTIVESET_OK);
        EXPECT_EQ(
            activeset_problem_set_row_sides(problem, part(sample.rowLower), part(sample.rowUpper)),
            ACTIVESET_OK);
        EXPECT_EQ(activeset_problem_set_bounds(problem, part(sample.lower), part(sample.upper)),
                  ACTIVESET_OK);
        EXPECT_EQ(activeset_problem_set_start(problem, part(sample.start)), ACTIVESET_OK);
        activeset_result_init(&result);
        rowSides.resize(sample.m);
        boundSides.resize(sample.n);
        farkasY.resize(sample.m);
        direction.resize(sample.n);
        result.x = x.data();
        result.y = y.data();
        result.z = z.data();
        result.row_sides = rowSides.data();
        result.bound_sides = boundSides.data();
        result.farkas_y = farkasY.data();
        result.direction = direction.data();
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;
    ~Call() { activeset_problem_free(problem); }

    Sample sample;
    activeset_problem* problem = nullptr;
    activeset_result result{};
    Numbers x, y, z, farkasY, direction;
    Sides rowSides, boundSides;
};

// min ½(x₁² + x₂²) − 2x₁ − 3x₂ with x₁ + x₂ ≤ 3: x = (1, 2).
inline Sample smallProblem() {
    Sample sample;
    sample.n = 2;
    sample.m = 1;
    sample.H = {1, 0, 0, 1};
    sample.c = {-2, -3};
    sample.A = {1, 1};
    sample.rowUpper = {3};
    return sample;
}

}  // namespace activeset::test

#endif
