// Batches from arrays to arrays give the bits of single solves, however the work is divided.
#include "activeset/batch.hpp"

#include <atomic>
#include <map>
#include <random>

#include "frontend/batch_data.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

class BatchThreads : public FreshState {};

Answers answersOf(const ProblemBatch& problems, const ManySettings& settings = {}) {
    Answers answers(problems);
    const std::size_t optimal = solveBatch(problems, answers.from(0, problems), settings);
    EXPECT_EQ(optimal,
              static_cast<std::size_t>(std::ranges::count(answers.status, Status::Optimal)));
    return answers;
}

/// The answers of single solves, written as a batch writes them.
Answers singleAnswers(const ProblemBatch& problems) {
    Answers answers(problems);
    const std::size_t n = problems.c.first.size();
    const auto put = [](const Numbers& values, Numbers& all, std::size_t first, std::size_t size) {
        for (std::size_t j = 0; j < size; ++j) {
            all[first + j] = values.size() == size ? values[j] : std::nan("");
        }
    };
    for (std::size_t k = 0; k < problems.count; ++k) {
        const Result result = solve(problems[k]);
        const std::size_t m = problems.A.first.rows();
        put(result.x, answers.x, k * (n + Gap), n);
        put(result.y, answers.y, k * m, m);
        put(result.z, answers.z, k * n, n);
        answers.objective[k] = result.x.empty() ? std::nan("") : result.objective;
        answers.status[k] = result.status;
        answers.certificate[k] = result.certificate;
        answers.iterations[k] = result.iterations;
    }
    return answers;
}

TEST_F(BatchThreads, HaveTheBitsOfSingleSolves) {
    std::map<Status, int> met;
    for (const std::size_t n : {5U, 6U}) {
        const Batch batch(120, n, 4, true);
        const ProblemBatch problems = batch.view(false);
        const Answers expected = singleAnswers(problems);
        for (const Status status : expected.status) {
            ++met[status];
        }
        for (const unsigned threads : {1U, 2U, 8U}) {
            expectSame(answersOf(problems, {.threads = threads}), expected);
        }
    }
    EXPECT_GT(met[Status::Optimal], 50);
    EXPECT_GT(met[Status::Infeasible], 10);
    EXPECT_GT(met[Status::Unbounded], 10);
    EXPECT_GT(met[Status::NotConvex], 0);
    EXPECT_EQ(met[Status::Invalid], 18);
}

/// Solves the batch in pieces of several sizes. No piece cuts a chain.
void expectDivisible(const ProblemBatch& problems, std::size_t chain) {
    const Answers whole = answersOf(problems, {.threads = 1, .chain = chain});
    expectSame(answersOf(problems, {.threads = 3, .chain = chain}), whole);
    for (const std::size_t unit : {1U, 7U}) {
        const std::size_t piece = unit * std::max<std::size_t>(chain, 1);
        Answers divided(problems);
        for (std::size_t first = 0; first < problems.count; first += piece) {
            const std::size_t count = std::min(piece, problems.count - first);
            solveBatch(partOf(problems, first, count), divided.from(first, problems),
                       {.threads = 1, .chain = chain});
        }
        expectSame(divided, whole);
    }
}

// Small strictly convex problems, problems with any H for the proximal loop, and larger problems
// that only the general method takes.
TEST_F(BatchThreads, DoNotDependOnHowTheyAreDivided) {
    for (const std::size_t chain : {0U, 4U}) {
        expectDivisible(Batch(60, 6, 5, true).view(false), chain);
        expectDivisible(Batch(60, 6, 5, false).view(true), chain);
        for (const std::size_t n : {2U, 3U, 4U}) {
            expectDivisible(Batch(40, n, 3, true).view(true), chain);
        }
        const Sample big = [] {
            Sample sample;
            for (unsigned seed = 0; sample.n < 101; ++seed) {
                sample = randomSample(seed, 120, false);
            }
            return sample;
        }();
        constexpr std::size_t Count = 12;
        Numbers slopes(Count * big.n);
        std::mt19937_64 bits(3);
        std::ranges::generate(slopes, [&] { return std::normal_distribution<double>()(bits); });
        const Problem one = big.view();
        const ProblemBatch problems{.count = Count,
                                    .H = {one.H},
                                    .c = {{slopes.data(), big.n}, big.n},
                                    .A = {one.A},
                                    .rowLower = {one.rowLower},
                                    .rowUpper = {one.rowUpper},
                                    .lower = {one.lower},
                                    .upper = {one.upper}};
        expectDivisible(problems, chain);
    }
}

TEST_F(BatchThreads, WithSharedMatricesSayWhatSingleSolvesSay) {
    std::map<Status, int> met;
    for (const bool anything : {false, true}) {
        for (const std::size_t n : {3U, 7U}) {
            const Batch batch(100, n, 4, anything);
            const ProblemBatch problems = batch.view(true);
            for (const std::size_t chain : {0U, 100U}) {
                const Answers answers = answersOf(problems, {.chain = chain});
                for (std::size_t k = 0; k < problems.count; ++k) {
                    SCOPED_TRACE("problem " + std::to_string(k));
                    const Result alone = solve(problems[k]);
                    ++met[alone.status];
                    EXPECT_EQ(answers.status[k], alone.status);
                    if (alone) {
                        EXPECT_NEAR(answers.objective[k], alone.objective,
                                    1e-9 * (1.0 + std::abs(alone.objective)));
                        EXPECT_TRUE(answers.certificate[k].holds(1e-9));
                    }
                }
            }
        }
    }
    EXPECT_GT(met[Status::Optimal], 300);
}

TEST_F(BatchThreads, WriteOnlyWhatIsAskedFor) {
    const Batch batch(20, 5, 4, true);
    const ProblemBatch problems = batch.view(false);
    const Answers whole = answersOf(problems);
    std::vector<int> status(problems.count, -1);
    std::size_t optimal = solveBatch(problems, {});
    EXPECT_EQ(optimal, std::ranges::count(whole.status, Status::Optimal));
    optimal = solveBatch(problems, {.status = reinterpret_cast<Status*>(status.data())});
    for (std::size_t k = 0; k < problems.count; ++k) {
        EXPECT_EQ(status[k], static_cast<int>(whole.status[k]));
        for (std::size_t j = 0; j < Gap; ++j) {
            EXPECT_EQ(whole.x[k * (problems.c.first.size() + Gap) + 5 + j], Untouched);
        }
    }
    EXPECT_EQ(solveBatch({}, {}), 0U);
}

TEST_F(BatchThreads, EndWhenTheyAreToldTo) {
    const Batch batch(400, 5, 4, false);
    const ProblemBatch problems = batch.view(true);
    for (const unsigned threads : {1U, 4U}) {
        std::stop_source source;
        std::size_t told = 0;
        const auto stopsAtTen = [&](std::size_t done, std::size_t of) {
            EXPECT_GT(done, told);
            EXPECT_EQ(of, problems.count);
            if (done >= 10) {
                source.request_stop();
            }
            told = done;
        };
        Answers answers = answersOf(
            problems,
            {.each = {.stop = source.get_token()}, .threads = threads, .onDone = stopsAtTen});
        EXPECT_GT(std::ranges::count(answers.status, Status::Interrupted), 200);
        EXPECT_TRUE(std::isnan(answers.x.at(399 * (5 + Gap))));
        EXPECT_EQ(told, problems.count);
        answers = answersOf(problems, {.threads = threads, .timeLimit = std::chrono::seconds(0)});
        EXPECT_EQ(std::ranges::count(answers.status, Status::TimeLimit), 400);
        const auto raises = [&](std::size_t, std::size_t) { throw std::domain_error("enough"); };
        EXPECT_THROW(solveBatch(problems, {}, {.threads = threads, .onDone = raises}),
                     std::domain_error);
    }
}

}  // namespace
}  // namespace activeset::test
