// Seeded random problems against an independent implementation of the same method: the results, and
// the whole path where rounding does not decide it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "solve/optimality.hpp"
#include "solve/recorder.hpp"
#include "support/fixture.hpp"
#include "support/shared.hpp"

namespace activeset::test {
namespace {

using nlohmann::json;

/// JSON has no infinity: "inf" and "-inf" stand for it.
double number(const json& value) {
    if (value.is_string()) {
        return value == "inf" ? Inf : value == "-inf" ? -Inf : NaN;
    }
    return value.get<double>();
}

Numbers numbers(const json& list) {
    Numbers result;
    for (const json& value : list) {
        result.push_back(number(value));
    }
    return result;
}

/// The rows of a matrix; null has none.
Rows rowsOf(const json& list) {
    Rows result;
    for (const json& row : list) {
        result.push_back(numbers(row));
    }
    return result;
}

Problem problemOf(const json& entry) {
    return {rowsOf(entry.at("H")),      numbers(entry.at("c")),      rowsOf(entry.at("A")),
            numbers(entry.at("b")),     rowsOf(entry.at("Aeq")),     numbers(entry.at("beq")),
            numbers(entry.at("lb")),    numbers(entry.at("ub")),     numbers(entry.at("x0")),
            numbers(entry.at("Wineq")), numbers(entry.at("Wlower")), numbers(entry.at("Wupper"))};
}

Limits limitsOf(const json& options) {
    return {options.at("MaxIter"), options.at("TolCon"), options.at("TolX")};
}

class ReferencePaths : public FreshState, public ::testing::WithParamInterface<std::string> {
protected:
    /// Compares relative to the largest entry. An unbounded problem ends at 1e30, where small
    /// entries are rounding only.
    static void expectClose(const Numbers& actual, const Numbers& expected) {
        ASSERT_EQ(actual.size(), expected.size());
        for (size_t i = 0; i < actual.size(); ++i) {
            EXPECT_NEAR(actual[i], expected[i], 1e-7 * (1.0 + largest(expected))) << "entry " << i;
        }
    }

    static void expectReference(const Problem& problem, const Result& result, const json& entry) {
        const json& expected = entry.at("expected");
        ASSERT_EQ(result.state, expected.at("exitflag").get<int>());
        const bool isOptimal = result.state == ASQP::Optimal;
        const double f = number(expected.at("fstar"));
        EXPECT_NEAR(result.f, f, 1e-8 * (1.0 + std::abs(f)));
        if (expected.at("same_path_on_two_blas")) {
            expectClose(result.x, numbers(expected.at("xstar")));
            const char* const names[] = {"Weq", "Wineq", "Wlower", "Wupper"};
            for (size_t kind = 0; kind < 4; ++kind) {
                EXPECT_EQ(result.lists[kind], numbers(expected.at(names[kind]))) << names[kind];
            }
            if (isOptimal) {
                expectClose(result.lambda, numbers(expected.at("lambda")));
            }
        } else if (isOptimal && entry.at("convex")) {
            expectOptimal(problem, result.x, result.lambda, 1e-6);
        }
    }
};

std::vector<Row> expectedRows(const json& rows) {
    std::vector<Row> result;
    for (const json& row : rows) {
        result.push_back({row.at(0), row.at(1), row.at(2), row.at(3), row.at(4)});
    }
    return result;
}

TEST_P(ReferencePaths, ResultsAndPassesAgree) {
    const auto file = shared("reference/random/" + GetParam() + ".json");
    if (file.empty()) {
        GTEST_SKIP() << NothingShared;
    }
    for (const json& entry : sharedJson(file)) {
        SCOPED_TRACE(entry.at("name").get<std::string>());
        const CallScope scope;
        const Problem problem = problemOf(entry.at("problem"));
        const Limits limits = limitsOf(entry.at("options"));
        const RecordedSolve recorded(problem, limits);
        expectReference(problem, recorded.result, entry);
        if (entry.at("expected").contains("rows")) {
            EXPECT_THAT(recorded.rows,
                        ::testing::ElementsAreArray(expectedRows(entry["expected"]["rows"])));
        }
        if (!problem.H.empty()) {
            EXPECT_EQ(solve(problem, limits), recorded.result) << "entry function";
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Family,
                         ReferencePaths,
                         ::testing::Values("all_bounds",
                                           "badly_scaled",
                                           "degenerate_vertex",
                                           "duplicated_eq",
                                           "feasible_start",
                                           "fixed_by_bounds",
                                           "inconsistent_eq",
                                           "indefinite_hessian",
                                           "infeasible",
                                           "infeasible_start",
                                           "infinite_bounds",
                                           "initial_set_dependent",
                                           "initial_set_random",
                                           "initial_set_too_long",
                                           "initial_set_valid",
                                           "large",
                                           "linear",
                                           "linear_degenerate",
                                           "linear_unbounded",
                                           "near_parallel",
                                           "no_constraints",
                                           "nonsymmetric_hessian",
                                           "one_variable",
                                           "only_equalities",
                                           "overdetermined_eq",
                                           "singular_hessian",
                                           "square_eq",
                                           "zero_hessian"),
                         [](const auto& test) { return test.param; });

}  // namespace
}  // namespace activeset::test
