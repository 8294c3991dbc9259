// Many solves on several threads, and what contradicts what.
#include <atomic>
#include <thread>

#include "frontend/generator.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

class ManyThreads : public FreshState {};
class Conflicts : public FreshState {};

TEST_F(ManyThreads, GiveTheResultsOfSolvesOneByOne) {
    std::vector<Sample> samples;
    for (unsigned seed = 0; seed < 60; ++seed) {
        samples.push_back(randomSample(seed, 12, true));
    }
    std::vector<Problem> problems;
    for (const Sample& sample : samples) {
        problems.push_back(sample.view());
    }
    problems[7].c = {};  // shapes that do not fit
    problems[7].H = {};
    for (const std::size_t chain : {0U, 4U}) {
        std::vector<Result> alone;
        for (const unsigned threads : {1U, 3U}) {
            std::size_t calls = 0;
            const std::vector<Result> results = solveMany(
                problems, {.threads = threads, .chain = chain, .onDone = [&](auto done, auto of) {
                               EXPECT_EQ(done, ++calls);
                               EXPECT_EQ(of, problems.size());
                           }});
            EXPECT_EQ(calls, problems.size());
            ASSERT_EQ(results.size(), problems.size());
            EXPECT_EQ(results[7].status, Status::Invalid);
            for (std::size_t k = 0; k < problems.size(); ++k) {
                EXPECT_EQ(results[k].status, solve(problems[k]).status);
                EXPECT_EQ(results[k].x, threads == 1 ? results[k].x : alone[k].x);
            }
            alone = results;
        }
    }
    EXPECT_TRUE(solveMany({}).empty());
}

TEST_F(ManyThreads, KeepWhatOneProblemRaisesFromTheOthers) {
    const Sample sample = randomSample(3, 20, false);
    const std::vector<Problem> problems(8, sample.view());
    std::atomic<int> passes = 0;
    ManySettings settings{.threads = 2};
    settings.each.onPass = [&](const Progress& progress) -> bool {
        if (progress.iteration == 1 && ++passes == 3) {
            throw std::runtime_error("the third");
        }
        return true;
    };
    const std::vector<Result> results = solveMany(problems, settings);
    EXPECT_EQ(std::ranges::count(results, Status::Failed, &Result::status), 1);
    EXPECT_EQ(std::ranges::count(results, Status::Optimal, &Result::status), 7);
    EXPECT_EQ(std::ranges::count(results, "the third", &Result::message), 1);

    ManySettings ended{.threads = 2, .onDone = [](std::size_t, std::size_t) {
                           throw std::domain_error("enough");
                       }};
    EXPECT_THROW(static_cast<void>(solveMany(problems, ended)), std::domain_error);
}

TEST_F(ManyThreads, SolveChainsWithFewerPasses) {
    std::vector<Sample> samples(12, randomSample(3, 30, false));
    std::vector<Problem> problems;
    for (std::size_t k = 0; k < samples.size(); ++k) {
        samples[k].c[0] += 0.01 * static_cast<double>(k);
        problems.push_back(samples[k].view());
    }
    const auto passes = [&](std::size_t chain) {
        std::size_t total = 0;
        for (const Result& result :
             solveMany(problems, {.each = {.start = Start::Cold}, .threads = 2, .chain = chain})) {
            EXPECT_TRUE(result);
            total += result.iterations.phaseOne + result.iterations.main;
        }
        return total;
    };
    EXPECT_LT(2 * passes(6), passes(1));
}

/// The sample with the sides of the conflict only, but for one if `left` is among them.
Sample only(const Sample& sample, const Conflict& conflict, std::size_t left) {
    Sample result = sample;
    std::size_t next = 0;
    const auto keep = [&](Numbers& sides, const std::vector<std::size_t>& members, double absent) {
        const Numbers all = sides;
        std::ranges::fill(sides, absent);
        for (const std::size_t k : members) {
            sides[k] = next++ == left ? absent : all[k];
        }
    };
    keep(result.rowLower, conflict.rowsAtLower, -Infinity);
    keep(result.rowUpper, conflict.rowsAtUpper, Infinity);
    keep(result.lower, conflict.atLower, -Infinity);
    keep(result.upper, conflict.atUpper, Infinity);
    result.H.assign(sample.H.size(), 0.0);
    result.c.assign(sample.n, 0.0);
    return result;
}

TEST_F(Conflicts, AreMinimal) {
    int found = 0;
    for (unsigned seed = 0; seed < 600; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        const Sample sample = randomSample(seed, 8, true);
        const Conflict conflict = explainInfeasibility(sample.view());
        const Status status = solve(only(sample, conflict, conflict.size()).view()).status;
        EXPECT_EQ(conflict.isFound, status == Status::Infeasible);
        EXPECT_EQ(conflict.isFound, conflict.isMinimal);
        for (std::size_t k = 0; k < conflict.size(); ++k) {
            EXPECT_EQ(solve(only(sample, conflict, k).view()).status, Status::Optimal);
        }
        if (conflict.isFound) {
            ++found;
            EXPECT_NE(solve(sample.view()).status, Status::Optimal);
        } else {
            EXPECT_NE(solve(sample.view()).status, Status::Infeasible);
        }
    }
    EXPECT_GT(found, 15);
}

}  // namespace
}  // namespace activeset::test
