// Many solves on several threads give what single solves give; and conflicts of constraints.
#include <atomic>
#include <map>

#include "frontend/generator.hpp"
#include "frontend/same_bits.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

class ManyThreads : public FreshState {};
class Conflicts : public FreshState {};

struct Samples {
    std::vector<Sample> samples;
    std::vector<Problem> problems;

    void add(Sample sample) { samples.push_back(std::move(sample)); }
    void view() {
        for (const Sample& sample : samples) {
            problems.push_back(sample.view());
        }
    }
};

/// Every seventh problem has a fault; on every ninth the callback below raises an error.
constexpr double Marked = 1e12;
Samples mixture(unsigned count) {
    Samples all;
    for (unsigned seed = 0; seed < count; ++seed) {
        all.add(randomSample(seed, 8, true));
        all.samples.back().c[0] = seed % 7 == 3 ? std::nan("") : all.samples.back().c[0];
    }
    all.view();
    for (unsigned seed = 4; seed < count; seed += 9) {
        all.problems[seed].constant = Marked;
    }
    return all;
}

const Settings RaisesForMarked{.startMode = Start::Cold, .onPass = [](const Progress& progress) {
                                   if (progress.objective > 0.5 * Marked) {
                                       throw std::domain_error("marked");
                                   }
                                   return true;
                               }};

Result serial(const Problem& problem) {
    try {
        return solve(problem, RaisesForMarked);
    } catch (const std::domain_error& error) {
        Result failed;
        failed.message = error.what();
        return failed;
    }
}

TEST_F(ManyThreads, GiveTheBitsOfSerialSolvesWhateverFailsBesides) {
    const Samples all = mixture(300);
    std::vector<Result> expected;
    std::map<Status, int> met;
    for (const Problem& problem : all.problems) {
        expected.push_back(serial(problem));
        ++met[expected.back().status];
    }
    EXPECT_GT(met[Status::Invalid], 30);
    EXPECT_GT(met[Status::Failed], 20);
    for (const unsigned threads : {0U, 1U, 2U, 8U}) {
        std::size_t told = 0;
        const auto onDone = [&](std::size_t done, std::size_t of) {
            EXPECT_EQ(done, ++told);
            EXPECT_EQ(of, expected.size());
        };
        const std::vector<Result> results = solveMany(
            all.problems, {.each = RaisesForMarked, .threads = threads, .onDone = onDone});
        ASSERT_EQ(results.size(), expected.size());
        EXPECT_EQ(told, expected.size());
        for (std::size_t i = 0; i < results.size(); ++i) {
            SCOPED_TRACE("problem " + std::to_string(i));
            expectSameBits(results[i], expected[i]);
        }
    }
}

constexpr std::size_t Length = 8;  // of a chain

TEST_F(ManyThreads, SolveChainsAsASolverDoes) {
    Samples all;
    for (unsigned k = 0; k < 52; ++k) {
        Sample next = k % Length == 0 ? randomSample(k, 15, false) : all.samples.back();
        std::mt19937_64 bits(k);
        for (double& entry : next.c) {
            entry += std::normal_distribution<double>(0.0, 0.1)(bits);
        }
        all.add(std::move(next));
    }
    all.view();
    std::vector<Result> expected;
    for (std::size_t first = 0; first < all.problems.size(); first += Length) {
        Solver solver(all.problems[first]);
        for (std::size_t i = first; i < std::min(first + Length, all.problems.size()); ++i) {
            solver.setLinear(all.problems[i].c);
            expected.push_back(solver.solve());
            all.problems[i].H = all.problems[first].H;
            all.problems[i].A = all.problems[first].A;
        }
    }
    for (const unsigned threads : {1U, 2U, 8U}) {
        const std::vector<Result> results =
            solveMany(all.problems, {.threads = threads, .chain = Length});
        for (std::size_t i = 0; i < results.size(); ++i) {
            expectSameBits(results[i], expected[i]);
        }
    }
}

TEST_F(ManyThreads, ContinueChainsAfterFaultsAndErrors) {
    const Samples faulty = mixture(100);
    std::vector<Result> first;
    for (const unsigned threads : {1U, 2U, 8U}) {
        const std::vector<Result> results = solveMany(
            faulty.problems, {.each = RaisesForMarked, .threads = threads, .chain = Length});
        first = first.empty() ? results : first;
        for (std::size_t i = 0; i < results.size(); ++i) {
            SCOPED_TRACE("problem " + std::to_string(i));
            expectSameBits(results[i], first[i]);
            // A start that is the solution needs no pass, so its callback never raises.
            EXPECT_TRUE(results[i].status == solve(faulty.problems[i]).status ||
                        (i % 9 == 4 && results[i].status == Status::Failed));
        }
    }
}

TEST_F(ManyThreads, FindAStartOfTheWrongLengthAlsoWithSharedMatrices) {
    Samples one;
    one.add(randomSample(0, 15, false));
    one.view();
    std::vector<Problem> shared(5, one.problems[0]);
    const Numbers tooLong(one.samples[0].n + 1, 0.0);
    for (const std::size_t wrong : {0U, 3U}) {
        shared[wrong].start = tooLong;
    }
    const auto results = solveMany(shared, {.threads = 2, .chain = 5});
    for (std::size_t i = 0; i < results.size(); ++i) {
        EXPECT_EQ(results[i].status, i % 3 == 0 ? Status::Invalid : Status::Optimal);
    }
}

TEST_F(ManyThreads, LoseOnlyTheProblemThatGetsNoMemory) {
    const Samples all = mixture(12);
    const ManySettings one{.each = {.startMode = Start::Cold}, .threads = 1};
    const std::vector<Result> expected = solveMany(all.problems, one);
    std::size_t failures = 0;
    for (std::uint64_t request = 1; request < 400; request += 7) {
        std::vector<Result> results;
        {
            const AllocationFaults faults(request);
            results = solveMany(all.problems, one);
        }
        std::size_t different = 0;
        for (std::size_t i = 0; i < results.size(); ++i) {
            if (results[i].status == Status::Failed) {
                EXPECT_FALSE(results[i].message.empty());
                ++different;
            } else if (results[i].x != expected[i].x) {
                ++different;  // the refused request had a fallback
            }
        }
        EXPECT_LE(different, 1U) << "request " << request;
        failures += different;
    }
    EXPECT_GT(failures, 20U);
}

TEST_F(ManyThreads, EndWhenTheyAreToldTo) {
    const Samples all = mixture(100);
    const auto count = [](const std::vector<Result>& results, Status status) {
        return std::count_if(results.begin(), results.end(),
                             [&](const Result& result) { return result.status == status; });
    };
    for (const unsigned threads : {1U, 4U}) {
        std::stop_source source;
        std::size_t told = 0;
        const auto stopsAtTen = [&](std::size_t done, std::size_t) {
            if (done == 10) {
                source.request_stop();
            }
            told = done;
        };
        auto results = solveMany(
            all.problems,
            {.each = {.stop = source.get_token()}, .threads = threads, .onDone = stopsAtTen});
        EXPECT_GE(count(results, Status::Interrupted), 100 - 9 - static_cast<long>(threads));
        EXPECT_EQ(told, 100U);
        results =
            solveMany(all.problems, {.threads = threads, .timeLimit = std::chrono::seconds(0)});
        EXPECT_EQ(count(results, Status::TimeLimit), 100);
        std::atomic<int> raised = 0;
        const auto raises = [&](std::size_t, std::size_t) {
            ++raised;
            throw std::domain_error("enough");
        };
        EXPECT_THROW(
            static_cast<void>(solveMany(all.problems, {.threads = threads, .onDone = raises})),
            std::domain_error);
        EXPECT_EQ(raised, 1);
    }
    EXPECT_TRUE(solveMany({}).empty());
    const auto nested = [&](const Progress&) { return solveMany(all.problems).empty(); };
    const Sample plain = randomSample(3, 40, false);
    EXPECT_THROW(
        static_cast<void>(solve(plain.view(), {.startMode = Start::Cold, .onPass = nested})),
        std::logic_error);
}

/// The sample with only the sides of the conflict, without number `left` if there is one.
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
