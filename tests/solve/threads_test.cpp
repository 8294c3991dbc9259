// Several solves at once, on several threads or by several objects.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>

#include "solve/mixed_calls.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

class SolveThreads : public FreshState {};

/// ACTIVESET_THREAD_SECONDS sets the duration; the default is one second.
TEST_F(SolveThreads, SolvesAtTheSameTimeGiveTheBitsOfSerialOnes) {
    constexpr size_t Threads = 8;
    constexpr std::uint32_t Seed = 8;
    std::vector<MixedCall> calls = mixedCalls(300, Seed);
    std::erase_if(calls, [](const MixedCall& call) { return call.isInterrupted(); });
    std::vector<Ending> serial;
    std::transform(calls.begin(), calls.end(), std::back_inserter(serial),
                   [](const MixedCall& call) { return call.make(); });
    const char* seconds = std::getenv("ACTIVESET_THREAD_SECONDS");
    const auto end = std::chrono::steady_clock::now() +
                     std::chrono::seconds(seconds == nullptr ? 1 : std::stoi(seconds));
    std::atomic<size_t> made = 0;
    {
        std::vector<std::jthread> threads;
        for (size_t t = 0; t < Threads; ++t) {
            threads.emplace_back([&, t] {
                std::mt19937 order(Seed + static_cast<std::uint32_t>(t));
                for (bool isSame = true; isSame && std::chrono::steady_clock::now() < end; ++made) {
                    const size_t k = order() % calls.size();
                    isSame = calls[k].make() == serial[k];
                    EXPECT_TRUE(isSame) << "call " << k;
                }
                EXPECT_EQ(liveArrayCount() + liveBlockCount(), 0);
            });
        }
    }
    RecordProperty("calls", std::to_string(made));
    EXPECT_GT(made, Threads * 10);
}

class InterleavedSolvers : public FreshState {};

// A thread has one set of counts: those of the last object that was set up.
TEST_F(InterleavedSolvers, TheOneSetUpFirstRaisesWhenTheCountsOutgrewItsLists) {
    Bench small(triangle());
    small.init({}, {1});
    Bench large(box(5));
    large.init({}, {}, {}, {5, 4, 3});
    expectRaises("optim:src:activesetqp:setWsetIndicesError",
                 "_setWsetIndices failed to initialize the working-set indices.",
                 [&] { small.solver.ASiterations(); });
}

// Its bounds are looked up in the lists of its own problem, which are shorter.
TEST_F(InterleavedSolvers, AProblemBuiltBeforeALargerOneIsNotReadBeyondItsEnd) {
    Problem first = box(3);
    first.Wlower = {7.0};
    Bench small(first);
    const Bench large(box(40));
    EXPECT_THROW(static_cast<void>(small.solve()), HostError);
}

// The result of a solver that was set up for other sizes is undefined. But it stays within its
// memory and leaves nothing behind.
TEST_F(InterleavedSolvers, GoingOnWithTheOtherOnesCountsHarmsNoLaterSolve) {
    const std::vector<Problem> problems{triangle(), box(5), dependent(), box(1), box(17)};
    for (const Problem& first : problems) {
        for (const Problem& second : problems) {
            {
                Bench one(first);
                one.init({}, {}, {}, first.ub.empty() ? Numbers() : Numbers{1});
                Bench other(second);
                other.init();
                for (NullSpaceAS* solver : {&one.solver, &other.solver}) {
                    try {
                        solver->ASiterations();
                    } catch (const HostError& error) {
                        EXPECT_NE(error.identifier(), OutOfMemoryIdentifier) << error.what();
                    }
                }
            }
            EXPECT_EQ(solve(first).state, ASQP::Optimal);
        }
    }
}

}  // namespace
}  // namespace activeset::test
