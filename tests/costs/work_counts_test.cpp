// How much work a solve does: passes, memory requests, bytes, operations. Unlike seconds these
// counts are the same on every machine, except where rounding decides the path.
#include <gtest/gtest.h>

#include <iomanip>
#include <iostream>
#include <string>

#include "activeset/options_solution.hpp"
#include "benchmarks/cases.hpp"
#include "benchmarks/work_counts.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

/// Sums over the problems of a case; for bytes the maximum.
struct Counts {
    double phaseOnePasses = 0.0;
    double passes = 0.0;
    double hostRequests = 0.0;
    double bytes = 0.0;
    double flops = 0.0;
};

/// What a case may cost. The figures were recorded from a correct state; a change that makes solves
/// do more work fails the test.
struct Budget {
    std::string family;
    size_t n;
    bool isWarm;
    Counts counts;
};

// A failing test prints the line that belongs here if the new costs are right.
const Budget Budgets[] = {
    {"random30", 10, false, {35, 66, 1000, 15200, 165300}},
    {"random30", 10, true, {0, 8, 592, 12800, 47200}},
    {"random30", 50, false, {142, 306, 1216, 137400, 17854000}},
    {"random60", 150, false, {85, 120, 214, 1004000, 58632000}},
    {"box", 50, false, {0, 258, 536, 129100, 15155000}},
    {"svm", 50, false, {0, 635, 640, 121000, 23007000}},
    {"portfolio", 50, false, {0, 349, 632, 120900, 16272000}},
    {"mpc", 20, false, {6, 482, 1542, 34100, 5905000}},
    {"mpc", 20, true, {0, 97, 1556, 35100, 1650700}},
};

class WorkCounts : public FreshState, public ::testing::WithParamInterface<Budget> {};

Counts countsOf(const bench::Case& which, bool isWarm) {
    const CallScope scope;
    Counts counts;
    const auto count = [&](const bench::Call& call) {
        const std::uint64_t before = allocationCount();
        const bench::WorkCount counter;
        return call.outcome([&] {
            counts.hostRequests += static_cast<double>(allocationCount() - before);
            counts.bytes = std::max(counts.bytes, static_cast<double>(counter.work().peakBytes));
            counts.flops += counter.work().flops();
            counts.passes += lastSolveReport().iterations;
            counts.phaseOnePasses += lastSolveReport().phaseOneIterations;
        });
    };
    std::vector<bench::Outcome> outcomes;
    for (const bench::Problem& problem : which.problems) {
        outcomes.push_back(count(bench::Call(problem)));
    }
    if (isWarm) {
        counts = {};
        const std::vector<bench::Start> starts = warmStarts(which, outcomes);
        for (size_t k = 0; k < starts.size(); ++k) {
            outcomes.push_back(count(bench::Call(which.problems[k], starts[k])));
        }
    }
    for (const bench::Outcome& outcome : outcomes) {
        EXPECT_EQ(outcome.state, ASQP::Optimal);
    }
    return counts;
}

TEST_P(WorkCounts, StayWithinTheirBudget) {
    // Rounding in another BLAS moves repairs and rebuilds, and may cost one more pass.
    constexpr double More = 1.05;
    constexpr double PassesMore = 1.0;
    constexpr double Less = 0.5;  // below this, the budget is too generous or the counts are wrong
    const Budget& budget = GetParam();
    const Counts counts = countsOf(bench::makeCase(budget.family, budget.n), budget.isWarm);
    const auto expect = [&](double Counts::*count, const char* name, double slack = 0.0) {
        EXPECT_LE(counts.*count, More * budget.counts.*count + slack) << name;
        EXPECT_GE(counts.*count, Less * budget.counts.*count) << name << ": lower the budget";
    };
    expect(&Counts::phaseOnePasses, "passes of phase one", PassesMore);
    expect(&Counts::passes, "passes of the main loop", PassesMore);
    expect(&Counts::hostRequests, "requests for host memory");
    expect(&Counts::bytes, "bytes held");
    expect(&Counts::flops, "operations");
    if (HasFailure()) {
        std::cout << std::fixed << std::setprecision(0) << "    {\"" << budget.family << "\", "
                  << budget.n << ", " << (budget.isWarm ? "true" : "false") << ", {"
                  << counts.phaseOnePasses << ", " << counts.passes << ", " << counts.hostRequests
                  << ", " << counts.bytes << ", " << counts.flops << "}},\n";
    }
}

std::string nameOf(const ::testing::TestParamInfo<Budget>& test) {
    return test.param.family + "_" + std::to_string(test.param.n) +
           (test.param.isWarm ? "_warm" : "_cold");
}

void PrintTo(const Budget& budget, std::ostream* stream) {
    *stream << budget.family << ' ' << budget.n << (budget.isWarm ? " warm" : " cold");
}

INSTANTIATE_TEST_SUITE_P(Families, WorkCounts, ::testing::ValuesIn(Budgets), nameOf);

}  // namespace
}  // namespace activeset::test
