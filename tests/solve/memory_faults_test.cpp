// Whole calls with every request for memory refused in turn.
#include <gtest/gtest.h>

#include <limits>

#include "matrix/matrix_pool.hpp"
#include "solve/examples.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

class MemoryFaults : public FreshState {
protected:
    struct Outcome {
        bool raised = false;
        Result result;
    };

    /// A call in which `failures` requests are refused, from number `failAt` on. Only results may
    /// remain after it, and nothing after an error.
    static Outcome callWith(const Problem& problem, std::uint64_t failAt, std::uint64_t failures) {
        const CallScope scope;
        const Inputs in = inputsOf(problem);
        const auto before = snapshots(in);
        const auto arrays = liveArrayCount();
        const auto blocks = liveBlockCount();
        const auto counted = counts();
        Outputs out{};
        Outcome outcome;
        {
            const AllocationFaults faults(failAt, failures);
            try {
                invoke(in, out);
            } catch (const HostError& error) {
                outcome.raised = true;
                EXPECT_EQ(error.identifier(), OutOfMemoryIdentifier);
                EXPECT_STREQ(error.what(), OutOfMemoryText);
            }
        }
        EXPECT_EQ(snapshots(in), before);
        EXPECT_EQ(matrixPoolSize(), 0U);
        EXPECT_EQ(utInterruptMode::depth(), 0);
        if (outcome.raised) {
            EXPECT_EQ(out, Outputs{});
            EXPECT_EQ(liveArrayCount(), arrays);
            EXPECT_EQ(liveBlockCount(), blocks);
            EXPECT_EQ(counts(), counted);
        } else {
            outcome.result = resultOf(out);
            EXPECT_EQ(liveArrayCount(), arrays + 8);
        }
        return outcome;
    }

    /// The number of allocations of the undisturbed call.
    static std::uint64_t requestsOf(const Problem& problem) {
        const CallScope scope;
        const Inputs in = inputsOf(problem);
        const std::uint64_t before = allocationCount();
        Outputs out{};
        invoke(in, out);
        return allocationCount() - before;
    }
};

const std::vector<Problem>& representativeProblems() {
    static const std::vector<Problem> problems{triangleFromOutside(), dependent(), infeasible(),
                                               contradiction()};
    return problems;
}

// Only a workspace can fall back to a second, smaller request.
TEST_F(MemoryFaults, OneRefusedRequestIsRaisedOrMakesNoDifference) {
    for (const Problem& problem : representativeProblems()) {
        const Result expected = solve(problem);
        const std::uint64_t requests = requestsOf(problem);
        std::uint64_t raised = 0;
        for (std::uint64_t request = 1; request <= requests; ++request) {
            SCOPED_TRACE("request " + std::to_string(request));
            static_cast<void>(solve(box(3)));  // sets the counts, which must stay the same
            const Outcome outcome = callWith(problem, request, 1);
            raised += outcome.raised ? 1 : 0;
            if (!outcome.raised) {
                EXPECT_EQ(outcome.result, expected);
            }
            EXPECT_EQ(solve(problem), expected) << "next call";
        }
        EXPECT_GT(raised, requests / 2);
        EXPECT_LT(raised, requests) << "no workspace fell back";
    }
}

TEST_F(MemoryFaults, ExhaustedMemoryIsAlwaysRaised) {
    constexpr auto ForGood = std::numeric_limits<std::uint64_t>::max();
    for (const Problem& problem : representativeProblems()) {
        const std::uint64_t requests = requestsOf(problem);
        for (std::uint64_t request = 1; request <= requests; ++request) {
            EXPECT_TRUE(callWith(problem, request, ForGood).raised) << "request " << request;
        }
        EXPECT_FALSE(callWith(problem, requests + 1, ForGood).raised);
    }
}

}  // namespace
}  // namespace activeset::test
