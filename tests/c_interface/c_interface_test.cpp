// The C interface: the answers of the front end in C arrays, and error codes for bad arguments.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "activeset/activeset.h"
#include "activeset/qp.hpp"
#include "c_interface/call.hpp"

namespace activeset::test {
namespace {

Sides sidesOf(std::size_t count,
              const std::vector<std::size_t>& lower,
              const std::vector<std::size_t>& upper,
              const std::vector<std::size_t>& equal) {
    Sides sides(count, 0);
    for (const std::size_t k : lower) {
        sides[k] = -1;
    }
    for (const std::size_t k : upper) {
        sides[k] = 1;
    }
    for (const std::size_t k : equal) {
        sides[k] = 2;
    }
    return sides;
}

bool isNaN(const Numbers& values) {
    return std::all_of(values.begin(), values.end(), [](double v) { return std::isnan(v); });
}

TEST(CInterface, GivesTheAnswersOfTheFrontEndBitForBit) {
    std::vector<int> seen(10, 0);
    for (unsigned seed = 1; seed <= 400; ++seed) {
        const Sample sample = randomSample(seed, 5, true);
        const Result expected = solve(sample.view());
        Call call(sample);
        ASSERT_EQ(activeset_solve(call.problem, nullptr, &call.result), ACTIVESET_OK) << seed;
        ASSERT_EQ(call.result.status, static_cast<int>(expected.status)) << seed;
        ++seen[static_cast<std::size_t>(call.result.status)];
        ASSERT_EQ(call.x, expected.x) << seed;
        ASSERT_EQ(call.y, expected.y) << seed;
        ASSERT_EQ(call.z, expected.z) << seed;
        const WorkingSet& set = expected.workingSet;
        ASSERT_EQ(call.rowSides,
                  sidesOf(sample.m, set.rowsAtLower, set.rowsAtUpper, set.equalities));
        ASSERT_EQ(call.boundSides, sidesOf(sample.n, set.atLower, set.atUpper, set.fixed));
        if (expected.farkas) {
            ASSERT_EQ(call.farkasY, expected.farkas->y) << seed;
            ASSERT_EQ(call.result.farkas_value, expected.farkas->value);
        } else {
            ASSERT_TRUE(isNaN(call.farkasY)) << seed;
        }
        ASSERT_EQ(call.result.gap.relative, expected.certificate.gap.relative);
        ASSERT_TRUE(expected.direction.empty() ? isNaN(call.direction)
                                               : call.direction == expected.direction);
    }
    EXPECT_GT(seen[ACTIVESET_OPTIMAL], 50);
    EXPECT_GT(seen[ACTIVESET_INFEASIBLE], 10);
    EXPECT_GT(seen[ACTIVESET_UNBOUNDED] + seen[ACTIVESET_NOT_CONVEX], 10);
}

TEST(CInterface, ASolverFollowsItsPartsAndWarmStarts) {
    Call call(smallProblem());
    activeset_solver* solver = nullptr;
    ASSERT_EQ(activeset_solver_new(call.problem, nullptr, &solver), ACTIVESET_OK);
    ASSERT_EQ(activeset_solver_solve(solver, &call.result), ACTIVESET_OK);
    EXPECT_EQ(call.x, (Numbers{1, 2}));
    EXPECT_EQ(call.rowSides, Sides{1});
    const Numbers upper{5};
    EXPECT_EQ(activeset_solver_set_row_sides(solver, nullptr, upper.data()), ACTIVESET_OK);
    ASSERT_EQ(activeset_solver_solve(solver, &call.result), ACTIVESET_OK);
    EXPECT_EQ(call.x, (Numbers{2, 3}));
    const Numbers rowMajor{3, 1};  // With 3x₁ + x₂ ≤ 5, x = (2 − 3·0.4, 3 − 0.4).
    EXPECT_EQ(activeset_solver_set_rows(solver, rowMajor.data(), 2, ACTIVESET_ROW_MAJOR),
              ACTIVESET_OK);
    EXPECT_EQ(activeset_solver_restart(solver, call.x.data(), Sides{1}.data(), nullptr),
              ACTIVESET_OK);
    ASSERT_EQ(activeset_solver_solve(solver, &call.result), ACTIVESET_OK);
    EXPECT_NEAR(call.x[0], 0.8, 1e-15);
    EXPECT_NEAR(call.y[0], 0.4, 1e-15);
    activeset_solver_free(solver);
}

TEST(CInterface, BadArgumentsAreCodesAndChangeNothing) {
    Call call(smallProblem());
    activeset_problem* none = nullptr;
    EXPECT_EQ(activeset_problem_new(-1, 0, &none), ACTIVESET_BAD_ARGUMENT);
    EXPECT_EQ(activeset_problem_new(std::int64_t{1} << 60, 0, &none), ACTIVESET_BAD_ARGUMENT);
    EXPECT_EQ(activeset_problem_new(1, 0, nullptr), ACTIVESET_BAD_ARGUMENT);
    EXPECT_EQ(none, nullptr);
    const Numbers H{1, 0, 0, 1};
    EXPECT_EQ(activeset_problem_set_hessian(call.problem, H.data(), 1, ACTIVESET_COLUMN_MAJOR),
              ACTIVESET_BAD_ARGUMENT);
    EXPECT_EQ(activeset_problem_set_hessian(call.problem, H.data(), 2, 7), ACTIVESET_BAD_ARGUMENT);
    EXPECT_EQ(activeset_problem_set_hessian(nullptr, H.data(), 2, 0), ACTIVESET_BAD_ARGUMENT);
    activeset_options options;
    activeset_options_init(&options);
    options.start_mode = 9;
    EXPECT_EQ(activeset_solve(call.problem, &options, &call.result), ACTIVESET_BAD_ARGUMENT);
    options.struct_size = 3;
    EXPECT_EQ(activeset_solve(call.problem, &options, &call.result), ACTIVESET_BAD_ARGUMENT);
    call.result.struct_size = 8;
    EXPECT_EQ(activeset_solve(call.problem, nullptr, &call.result), ACTIVESET_BAD_ARGUMENT);
    EXPECT_EQ(call.result.status, ACTIVESET_FAILED);
    call.result.struct_size = sizeof call.result;
    EXPECT_EQ(activeset_solve(call.problem, nullptr, &call.result), ACTIVESET_OK);
    EXPECT_EQ(call.x, (Numbers{1, 2}));
    activeset_problem_free(nullptr);
    activeset_solver_free(nullptr);
    activeset_stop_free(nullptr);
}

TEST(CInterface, WithoutVariablesTheConstantIsTheObjective) {
    Call call(Sample{});
    EXPECT_EQ(activeset_problem_set_linear(call.problem, nullptr, 5.0), ACTIVESET_OK);
    EXPECT_EQ(activeset_solve(call.problem, nullptr, &call.result), ACTIVESET_OK);
    EXPECT_EQ(call.result.status, ACTIVESET_OPTIMAL);
    EXPECT_EQ(call.result.objective, 5.0);
}

TEST(CInterface, FaultsAreToldByIndexAndAsAMessage) {
    Sample sample = smallProblem();
    sample.c[1] = NAN;
    sample.A.clear();  // a row, but no matrix
    Call call(sample);
    std::vector<activeset_fault> faults(1);
    faults[0].struct_size = sizeof faults[0];
    std::int64_t count = 0;
    ASSERT_EQ(activeset_faults(call.problem, faults.data(), 1, &count), ACTIVESET_OK);
    EXPECT_GE(count, 2);
    EXPECT_STREQ(faults[0].name, "c");
    EXPECT_EQ(faults[0].row, 1);
    char message[12];
    call.result.message = message;
    call.result.message_size = sizeof message;
    ASSERT_EQ(activeset_solve(call.problem, nullptr, &call.result), ACTIVESET_OK);
    EXPECT_EQ(call.result.status, ACTIVESET_INVALID);
    EXPECT_EQ(std::strlen(message), 11U);
    EXPECT_TRUE(isNaN(call.x));
    EXPECT_TRUE(std::isnan(call.result.objective));
}

TEST(CInterface, CallbacksStopsAndInterruptsEndASolve) {
    const Sample sample = smallProblem();
    Call call(sample);
    activeset_options options;
    activeset_options_init(&options);
    int calls = 0;
    options.user = &calls;
    options.on_pass = [](const activeset_progress* progress, void* user) {
        ++*static_cast<int*>(user);
        return static_cast<int>(progress->iteration < 1);
    };
    ASSERT_EQ(activeset_solve(call.problem, &options, &call.result), ACTIVESET_OK);
    EXPECT_EQ(call.result.status, ACTIVESET_INTERRUPTED);
    EXPECT_EQ(calls, 1);
    options.on_pass = nullptr;
    activeset_stop* stop = nullptr;
    ASSERT_EQ(activeset_stop_new(&stop), ACTIVESET_OK);
    options.stop = stop;
    ASSERT_EQ(activeset_solve(call.problem, &options, &call.result), ACTIVESET_OK);
    EXPECT_EQ(call.result.status, ACTIVESET_OPTIMAL);
    std::thread([&] { activeset_stop_request(stop); }).join();
    ASSERT_EQ(activeset_solve(call.problem, &options, &call.result), ACTIVESET_OK);
    EXPECT_EQ(call.result.status, ACTIVESET_INTERRUPTED);
    activeset_stop_free(stop);
    activeset_interrupt_all(1);
    ASSERT_EQ(activeset_solve(call.problem, nullptr, &call.result), ACTIVESET_OK);
    activeset_interrupt_all(0);
    EXPECT_EQ(call.result.status, ACTIVESET_INTERRUPTED);
}

TEST(CInterface, AConflictNamesTheSidesThatTakePart) {
    Sample sample;  // x₁ + x₂ ≤ 1, x₁ ≥ 1, x₂ ≥ 1, x₃ ≥ 0
    sample.n = 3;
    sample.m = 2;
    sample.A = {1, 0, 1, 0, 0, 1};
    sample.rowUpper = {1, 9};
    sample.lower = {1, 1, 0};
    Call call(sample);
    Sides rows(2, 9);
    Sides bounds(3, 9);
    int found = 0;
    ASSERT_EQ(
        activeset_explain_infeasibility(call.problem, nullptr, rows.data(), bounds.data(), &found),
        ACTIVESET_OK);
    EXPECT_EQ(found, 2);
    EXPECT_EQ(rows, (Sides{1, 0}));
    EXPECT_EQ(bounds, (Sides{-1, -1, 0}));
}

// H and A are shared; each problem has its own row sides. Problem k minimises ½‖x − (9, 9)‖²
// subject to x₁ + x₂ ≤ 2k; its optimum is (k, k).
TEST(CInterface, ABatchWritesItsAnswersInOrderForAnyNumberOfThreads) {
    constexpr std::size_t Count = 9;
    const Numbers H{1, 0, 0, 1};
    const Numbers c{-9, -9};
    const Numbers A{1, 1};
    Numbers upper(Count);
    for (std::size_t k = 0; k < Count; ++k) upper[k] = 2.0 * static_cast<double>(k);
    for (const int threads : {1, 3}) {
        Numbers x(2 * Count), objective(Count), residuals(3 * Count);
        std::vector<std::int32_t> status(Count, -1);
        activeset_batch batch;
        activeset_batch_init(&batch);
        batch.count = Count;
        batch.n = 2;
        batch.m = 1;
        batch.threads = threads;
        batch.chain = 4;
        batch.H = H.data();
        batch.c = c.data();
        batch.A = A.data();
        batch.row_upper = upper.data();
        batch.row_upper_stride = 1;
        batch.x = x.data();
        batch.status = status.data();
        batch.objective = objective.data();
        batch.residuals = residuals.data();
        ASSERT_EQ(activeset_solve_batch(&batch, nullptr), ACTIVESET_OK);
        for (std::size_t k = 0; k < Count; ++k) {
            const auto value = static_cast<double>(k);
            EXPECT_EQ(status[k], ACTIVESET_OPTIMAL);
            EXPECT_NEAR(x[2 * k], value, 1e-14);
            EXPECT_NEAR(objective[k], value * value - 18.0 * value, 1e-13);
            EXPECT_LE(residuals[3 * k + 2], 1e-12);
        }
        batch.c_stride = -1;
        EXPECT_EQ(activeset_solve_batch(&batch, nullptr), ACTIVESET_BAD_ARGUMENT);
    }
}

}  // namespace
}  // namespace activeset::test
