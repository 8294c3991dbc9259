// Several solves at once, on several threads or by several objects.
#include <gtest/gtest.h>

#include <thread>

#include "solve/examples.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

class SolveThreads : public FreshState {};

TEST_F(SolveThreads, SolvesAtTheSameTimeGiveTheBitsOfSerialOnes) {
    const std::vector<Problem> problems{
        triangleFromOutside(), box(30), infeasible(), dependent(), flat(), box(7), contradiction()};
    std::vector<Result> serial;
    for (const Problem& problem : problems) {
        serial.push_back(solve(problem));
    }
    constexpr size_t Threads = 4;
    constexpr size_t Calls = 70;
    std::vector<std::vector<Result>> parallel(Threads);
    std::vector<std::int64_t> left(Threads, -1);
    std::vector<std::thread> threads;
    for (size_t t = 0; t < Threads; ++t) {
        threads.emplace_back([&, t] {
            for (size_t k = 0; k < Calls; ++k) {
                parallel[t].push_back(solve(problems[(t + k) % problems.size()]));
            }
            left[t] = liveArrayCount() + liveBlockCount();
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (size_t t = 0; t < Threads; ++t) {
        ASSERT_EQ(parallel[t].size(), Calls);
        for (size_t k = 0; k < Calls; ++k) {
            EXPECT_EQ(parallel[t][k], serial[(t + k) % problems.size()])
                << "thread " << t << ", call " << k;
        }
        EXPECT_EQ(left[t], 0) << "thread " << t;
    }
}

class InterleavedSolvers : public FreshState {};

// One thread has one set of counts: those of the object that was set up last.
TEST_F(InterleavedSolvers, TheOneSetUpFirstRaisesWhenTheCountsOutgrewItsLists) {
    Bench small(triangle());
    small.init({}, {1});
    Bench large(box(5));
    large.init({}, {}, {}, {5, 4, 3});
    expectRaises("optim:src:activesetqp:setWsetIndicesError",
                 "_setWsetIndices failed to initialize the working-set indices.",
                 [&] { small.solver.ASiterations(); });
}

// Its bounds are searched in the lists of its own problem, which are shorter.
TEST_F(InterleavedSolvers, AProblemBuiltBeforeALargerOneIsNotReadBeyondItsEnd) {
    Problem first = box(3);
    first.Wlower = {7.0};
    Bench small(first);
    const Bench large(box(40));
    EXPECT_THROW(static_cast<void>(small.solve()), HostError);
}

// What a solver set up for other sizes does is undefined, but it stays within its memory and leaves
// nothing behind.
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
