// A process that solves for a long time.
#include <gtest/gtest.h>

#include <set>

#include "solve/mixed_calls.hpp"
#include "support/fixture.hpp"
#include "support/process_memory.hpp"

namespace activeset::test {
namespace {

class Soak : public FreshState, public ::testing::WithParamInterface<int> {};

TEST_P(Soak, NothingIsLeftOfAnyCallAndNoResultDrifts) {
    constexpr std::uint32_t Seed = 5;
    const std::vector<MixedCall> calls = mixedCalls(400, Seed);
    std::vector<Ending> first;
    std::set<std::string> kinds;
    for (const MixedCall& call : calls) {
        first.push_back(call.make());
        kinds.insert(first.back().kind());
    }
    for (const char* kind : {"1", "0", "-1", "-2", "-3", "-4", OutOfMemoryIdentifier,
                             "optim:src:DataTypeError", AssertionIdentifier}) {
        EXPECT_TRUE(kinds.contains(kind)) << kind;
    }
    const auto arrays = liveArrayCount();
    const auto blocks = liveBlockCount();
    std::mt19937 order(Seed);
    ProcessMemory warm;
    for (int k = 0; k < GetParam(); ++k) {
        const size_t which = order() % calls.size();
        ASSERT_EQ(calls[which].make(), first[which]) << "repetition " << k << ", call " << which;
        ASSERT_EQ(liveArrayCount(), arrays);
        ASSERT_EQ(liveBlockCount(), blocks);
        if (k == GetParam() / 4) {
            warm = ProcessMemory::now();
        }
    }
    EXPECT_LE(ProcessMemory::now().resident, warm.resident + MemorySlack);
}

INSTANTIATE_TEST_SUITE_P(Quick, Soak, ::testing::Values(5000));
INSTANTIATE_TEST_SUITE_P(Slow, Soak, ::testing::Values(IsSanitized ? 20000 : 200000));

}  // namespace
}  // namespace activeset::test
