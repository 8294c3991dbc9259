// Soft sides through the C interface.
#include <gtest/gtest.h>

#include <cmath>

#include "c_interface/call.hpp"

namespace activeset::test {
namespace {

// x₁ + x₂ ≤ 3 costs ½ per unit of violation, so x = (1.5, 2.5). The soft x₁ ≥ 1.75 is violated by v
// with 0.25 − v = 0.1 + 0.2·v, so v = 0.125 and x₁ = 1.625.
TEST(CInterfaceSoft, SidesGiveWayAndAreWarmStarted) {
    Call call(smallProblem());
    const Numbers half{0.5}, lower{1.75, -HUGE_VAL}, linear{0.1, HUGE_VAL}, quadratic{0.2, 0};
    activeset_penalty rows, bounds;
    activeset_penalty_init(&rows);
    activeset_penalty_init(&bounds);
    rows.upper_linear = half.data();
    bounds.lower_linear = linear.data();
    bounds.lower_quadratic = quadratic.data();
    activeset_problem_set_bounds(call.problem, lower.data(), nullptr);
    ASSERT_EQ(activeset_problem_set_penalties(call.problem, &rows, &bounds), ACTIVESET_OK);
    bounds.struct_size = 8;
    EXPECT_EQ(activeset_problem_set_penalties(call.problem, nullptr, &bounds),
              ACTIVESET_BAD_ARGUMENT);
    ASSERT_EQ(activeset_solve(call.problem, nullptr, &call.result), ACTIVESET_OK);
    EXPECT_NEAR(call.x[0], 1.625, 1e-15);
    EXPECT_NEAR(call.x[1], 2.5, 1e-15);
    EXPECT_EQ(call.rowSides, Sides{ACTIVESET_ABOVE_UPPER});
    EXPECT_EQ(call.boundSides, (Sides{ACTIVESET_BELOW_LOWER, ACTIVESET_FREE}));
    const auto steps = [&] {
        return call.result.prediction_iterations + call.result.dual_iterations;
    };
    const std::int64_t cold = steps();
    EXPECT_EQ(activeset_problem_set_warm_start(call.problem, call.x.data(), call.rowSides.data(),
                                               call.boundSides.data()),
              ACTIVESET_OK);
    ASSERT_EQ(activeset_solve(call.problem, nullptr, &call.result), ACTIVESET_OK);
    EXPECT_LT(steps(), cold);

    activeset_solver* solver = nullptr;
    ASSERT_EQ(activeset_solver_new(call.problem, nullptr, &solver), ACTIVESET_OK);
    EXPECT_EQ(activeset_solver_set_penalties(solver, &rows, nullptr), ACTIVESET_OK);
    ASSERT_EQ(activeset_solver_solve(solver, &call.result), ACTIVESET_OK);
    EXPECT_NEAR(call.x[0], 1.75, 1e-15);
    EXPECT_EQ(call.boundSides[0], ACTIVESET_AT_LOWER);
    EXPECT_EQ(activeset_solver_set_penalties(solver, nullptr, nullptr), ACTIVESET_OK);
    ASSERT_EQ(activeset_solver_solve(solver, &call.result), ACTIVESET_OK);
    EXPECT_NEAR(call.x[1], 1.25, 1e-15);
    activeset_solver_free(solver);
}

}  // namespace
}  // namespace activeset::test
