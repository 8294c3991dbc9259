// Derivatives of batches, compared with those of single problems.
#include "activeset/batch_sensitivity.hpp"

#include <gmock/gmock.h>

#include <cmath>
#include <stdexcept>

#include "frontend/generator.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

class BatchDerivatives : public FreshState {};

// Three problems of one shape with different costs. The last one is infeasible.
struct Batch {
    Numbers c, upper, x, y, z;
    Numbers H{2.0, 0.0, 0.0, 4.0};
    Numbers A{1.0, 1.0};
    Numbers rowUpper{1.0};
    std::vector<Status> status;
    Numbers lower{0.0, 0.0};

    Batch() : c{-4.0, -1.0, 1.0, -9.0, 0.0, 0.0}, x(6), y(3), z(6), status(3) {
        upper = {9.0, 9.0, 9.0, 9.0, -1.0, 9.0};
    }
    [[nodiscard]] ProblemBatch problems() const {
        return {.count = 3,
                .H = {{H, 2, 2}},
                .c = {{c.data(), 2}, 2},
                .A = {{A, 1, 2}},
                .rowUpper = {rowUpper},
                .lower = {lower},
                .upper = {{upper.data(), 2}, 2}};
    }
    [[nodiscard]] BatchSolution solution() const {
        return {{{x.data(), 2}, 2}, {{y.data(), 1}, 1}, {{z.data(), 2}, 2}, status.data()};
    }
};

TEST_F(BatchDerivatives, AreThoseOfTheirProblems) {
    Batch batch;
    ASSERT_EQ(solveBatch(batch.problems(), {.x = {batch.x.data()},
                                            .y = {batch.y.data()},
                                            .z = {batch.z.data()},
                                            .status = batch.status.data()}),
              2U);
    const Numbers dx{1.0, -2.0};
    const Numbers dz{3.0, 0.5};
    Numbers c(6), lower(6), upper(3);
    std::int8_t derivative[3] = {};
    const BatchGradients out{.c = {c.data()},
                             .rowUpper = {upper.data()},
                             .lower = {lower.data()},
                             .derivative = derivative};
    EXPECT_EQ(backwardBatch(batch.problems(), batch.solution(), {.x = {dx}, .z = {dz}}, out), 2U);
    EXPECT_THAT(derivative, testing::ElementsAre(0, 0, -1));
    for (std::size_t k = 0; k < 2; ++k) {
        const Problem problem = batch.problems()[k];
        const Gradients alone = Sensitivity(solve(problem), problem).backward(dx, {}, dz);
        EXPECT_NEAR(upper[k], alone.rowUpper[0], 1e-13);
        for (std::size_t j = 0; j < 2; ++j) {
            EXPECT_NEAR(c[2 * k + j], alone.c[j], 1e-13);
            EXPECT_NEAR(lower[2 * k + j], alone.lower[j], 1e-13);
        }
    }
    EXPECT_TRUE(std::isnan(c[4]) && std::isnan(upper[2]));
}

// min −x₁ − x₂ over x₁ + x₂ ≤ 1, x₁ ≤ 1, x ≥ 0 at the vertex (1, 0). Two of the sides that define
// the vertex have multiplier 0.
TEST_F(BatchDerivatives, HoldWhatMakesTheVertex) {
    const Numbers costs{-1.0, -1.0}, A{1.0, 1.0}, side{1.0}, lower{0.0, 0.0}, upper{1.0, 2.0};
    const ProblemBatch problems{.count = 1,
                                .c = {costs},
                                .A = {{A, 1, 2}},
                                .rowUpper = {side},
                                .lower = {lower},
                                .upper = {upper}};
    const Numbers x{1.0, 0.0}, y{1.0}, z{0.0, 0.0}, dx{0.0, 1.0};
    Numbers c(2);
    std::int8_t derivative = 0;
    EXPECT_EQ(backwardBatch(problems, {{x}, {y}, {z}}, {.x = {dx}},
                            {.c = {c.data()}, .derivative = &derivative}),
              1U);
    EXPECT_THAT(c, testing::ElementsAre(0.0, 0.0));
    EXPECT_NE(derivative, 0);
}

TEST_F(BatchDerivatives, RefuseShapesAndSolutionsOfOthers) {
    Batch batch;
    Numbers c(6);
    const BatchGradients out{.c = {c.data()}};
    const BatchSolution nothing{};
    EXPECT_THROW(backwardBatch(batch.problems(), nothing, {}, out), std::invalid_argument);
    EXPECT_THROW(backwardBatch(batch.problems(), batch.solution(), {.x = {batch.y}}, out),
                 std::invalid_argument);
    batch.status.assign(3, Status::Optimal);
    EXPECT_EQ(backwardBatch(batch.problems(), batch.solution(), {}, out),
              0U);  // not optimal
    EXPECT_TRUE(std::isnan(c[0]));
}

}  // namespace
}  // namespace activeset::test
