// Derivatives, ranges and paths through the C interface.
#include <gtest/gtest.h>

#include <cmath>

#include "activeset/activeset.h"

namespace activeset::test {
namespace {

template <class Struct>
Struct sized() {
    Struct made{};
    made.struct_size = sizeof made;
    return made;
}

class CParametric : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(activeset_problem_new(2, 1, &problem_), ACTIVESET_OK);
        activeset_problem_set_hessian(problem_, H_, 0, ACTIVESET_COLUMN_MAJOR);
        activeset_problem_set_linear(problem_, c_, 0.0);
        activeset_problem_set_rows(problem_, A_, 0, ACTIVESET_COLUMN_MAJOR);
        activeset_problem_set_row_sides(problem_, nullptr, side_);
        activeset_problem_set_bounds(problem_, lower_, nullptr);
        activeset_result_init(&result_);
        result_.x = x_;
        result_.y = y_;
        result_.z = z_;
        result_.row_sides = rowSides_;
        result_.bound_sides = boundSides_;
        ASSERT_EQ(activeset_solve(problem_, nullptr, &result_), ACTIVESET_OK);
        ASSERT_EQ(result_.status, ACTIVESET_OPTIMAL);
    }
    void TearDown() override {
        activeset_sensitivity_free(sensitivity_);
        activeset_path_free(path_);
        activeset_problem_free(problem_);
    }

    // min ½(x₁² + x₂²) − 2·x₁ − x₂ subject to x₁ + x₂ ≤ 2, x ≥ 0: x = (3/2, 1/2), y = 1/2.
    double H_[4] = {1.0, 0.0, 0.0, 1.0};
    double c_[2] = {-2.0, -1.0};
    double A_[2] = {1.0, 1.0};
    double side_[1] = {2.0};
    double lower_[2] = {0.0, 0.0};
    double x_[2] = {}, y_[1] = {}, z_[2] = {};
    std::int8_t rowSides_[1] = {}, boundSides_[2] = {};
    activeset_problem* problem_ = nullptr;
    activeset_result result_{};
    activeset_sensitivity* sensitivity_ = nullptr;
    activeset_path* path_ = nullptr;
};

// While the row is active, dx = ½(dside, dside) + ½(−1, 1)·(dc₁ − dc₂), dy = −½(dc₁ + dc₂ + dside).
TEST_F(CParametric, GradientsAreThoseByHand) {
    ASSERT_EQ(activeset_sensitivity_new(problem_, &result_, &sensitivity_), ACTIVESET_OK);
    double H[4], c[2], A[2], lower[1], upper[1];
    auto g = sized<activeset_gradients>();
    g.H = H;
    g.c = c;
    g.A = A;
    g.row_lower = lower;
    g.row_upper = upper;
    const double dx[] = {1.0, 0.0}, dy[] = {2.0};
    ASSERT_EQ(activeset_backward(sensitivity_, dx, nullptr, nullptr, &g), ACTIVESET_OK);
    EXPECT_EQ(g.derivative, ACTIVESET_DERIVATIVE_FULL);
    EXPECT_NEAR(c[0], -0.5, 1e-14);
    EXPECT_NEAR(c[1], 0.5, 1e-14);
    EXPECT_NEAR(upper[0], 0.5, 1e-14);
    EXPECT_EQ(lower[0], 0.0);
    EXPECT_NEAR(H[0], -0.5 * 1.5, 1e-14);  // the row's part of dH: ½(c·xᵀ + x·cᵀ)
    EXPECT_NEAR(H[2], 0.5 * (-0.5 * 0.5 + 0.5 * 1.5), 1e-14);
    EXPECT_NEAR(A[0], 0.5 * -0.5 - 0.5 * 1.5, 1e-14);  // y·cᵀ − v·xᵀ
    ASSERT_EQ(activeset_backward(sensitivity_, nullptr, dy, nullptr, &g), ACTIVESET_OK);
    EXPECT_NEAR(c[0], -1.0, 1e-14);
    EXPECT_NEAR(upper[0], -1.0, 1e-14);
}

// y = (3 − side)/2 vanishes at side = 3, x₂ = (side − 1)/2 at side = 1. The objective at 3 is −½·5.
TEST_F(CParametric, RangesAreThoseByHand) {
    activeset_range costs[2], sides[1];
    auto all = sized<activeset_ranges>();
    all.c = costs;
    all.row_upper = sides;
    ASSERT_EQ(activeset_find_ranges(problem_, &result_, &all), ACTIVESET_OK);
    EXPECT_NEAR(sides[0].least, 1.0, 1e-12);
    EXPECT_NEAR(sides[0].most, 3.0, 1e-12);
    EXPECT_NEAR(sides[0].objective_at_most, -2.5, 1e-12);
    EXPECT_EQ(sides[0].is_degenerate, 0);
    EXPECT_NEAR(costs[0].least, -3.0, 1e-12);  // x₂ = ½ + ½(c₁ + 2) vanishes there
    EXPECT_NEAR(costs[0].most, -1.0, 1e-12);   // y = ½(1 − c₁ − 2) vanishes here
}

// The side goes from 2 to 4, and the row is active up to 3. Then it goes down to −1, and nothing is
// feasible below 0.
TEST_F(CParametric, PathsHaveTheirPiecesAndEnds) {
    const double up[] = {1.0}, down[] = {-1.0};
    auto direction = sized<activeset_direction>();
    direction.row_upper = up;
    ASSERT_EQ(activeset_path_new(problem_, &direction, 0.0, 2.0, nullptr, &path_), ACTIVESET_OK);
    char message[80];
    double farkas[1];
    auto end = sized<activeset_path_end>();
    end.farkas_y = farkas;
    end.message = message;
    end.message_size = sizeof message;
    ASSERT_EQ(activeset_path_result(path_, &end), ACTIVESET_OK);
    EXPECT_EQ(end.status, ACTIVESET_OPTIMAL);
    ASSERT_EQ(end.pieces, 2);
    double dx[2], x[2], objective = 0.0;
    std::int8_t sides[1];
    auto piece = sized<activeset_piece>();
    piece.dx = dx;
    piece.row_sides = sides;
    ASSERT_EQ(activeset_path_get(path_, 0, &piece), ACTIVESET_OK);
    EXPECT_NEAR(piece.to, 1.0, 1e-12);
    EXPECT_NEAR(dx[0], 0.5, 1e-12);
    EXPECT_EQ(sides[0], ACTIVESET_AT_UPPER);
    ASSERT_EQ(activeset_path_at(path_, 1.5, x, nullptr, nullptr, &objective), ACTIVESET_OK);
    EXPECT_NEAR(x[0], 2.0, 1e-12);
    EXPECT_NEAR(objective, -2.5, 1e-12);
    EXPECT_EQ(activeset_path_at(path_, 2.5, x, nullptr, nullptr, nullptr), ACTIVESET_BAD_ARGUMENT);
    EXPECT_EQ(activeset_path_get(path_, 2, &piece), ACTIVESET_BAD_ARGUMENT);
    activeset_path_free(path_);
    direction.row_upper = down;
    ASSERT_EQ(activeset_path_new(problem_, &direction, 0.0, 3.0, nullptr, &path_), ACTIVESET_OK);
    ASSERT_EQ(activeset_path_result(path_, &end), ACTIVESET_OK);
    EXPECT_EQ(end.status, ACTIVESET_INFEASIBLE);
    EXPECT_NEAR(end.end, 2.0, 1e-8);
    EXPECT_GT(farkas[0], 0.0);
}

TEST_F(CParametric, RefusesWhatDoesNotFit) {
    activeset_gradients none{};
    double c[2];
    auto g = sized<activeset_gradients>();
    g.c = c;
    auto ranges = sized<activeset_ranges>();
    auto direction = sized<activeset_direction>();
    EXPECT_EQ(activeset_sensitivity_new(nullptr, &result_, &sensitivity_), ACTIVESET_BAD_ARGUMENT);
    EXPECT_EQ(activeset_backward(nullptr, nullptr, nullptr, nullptr, &g), ACTIVESET_BAD_ARGUMENT);
    ASSERT_EQ(activeset_sensitivity_new(problem_, &result_, &sensitivity_), ACTIVESET_OK);
    EXPECT_EQ(activeset_backward(sensitivity_, nullptr, nullptr, nullptr, &none),
              ACTIVESET_BAD_ARGUMENT);
    activeset_sensitivity_free(sensitivity_);
    activeset_result withoutSides = result_;
    withoutSides.row_sides = nullptr;
    EXPECT_EQ(activeset_sensitivity_new(problem_, &withoutSides, &sensitivity_),
              ACTIVESET_BAD_ARGUMENT);
    x_[0] += 0.1;
    EXPECT_EQ(activeset_sensitivity_new(problem_, &result_, &sensitivity_),
              ACTIVESET_NOT_ITS_OPTIMUM);
    EXPECT_EQ(activeset_find_ranges(problem_, &result_, &ranges), ACTIVESET_NOT_ITS_OPTIMUM);
    EXPECT_STREQ(activeset_code_text(ACTIVESET_NOT_ITS_OPTIMUM),
                 "the result is not optimal, or of another problem");
    result_.status = ACTIVESET_INFEASIBLE;
    EXPECT_EQ(activeset_sensitivity_new(problem_, &result_, &sensitivity_),
              ACTIVESET_NOT_ITS_OPTIMUM);
    EXPECT_EQ(sensitivity_, nullptr);
    EXPECT_EQ(activeset_path_new(problem_, &direction, 1.0, 0.0, nullptr, &path_),
              ACTIVESET_BAD_ARGUMENT);
    EXPECT_EQ(activeset_path_new(problem_, nullptr, 0.0, 1.0, nullptr, &path_),
              ACTIVESET_BAD_ARGUMENT);
    EXPECT_EQ(path_, nullptr);
}

}  // namespace
}  // namespace activeset::test
