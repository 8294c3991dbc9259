// Batches from arrays to arrays: the answers of single solves, bit for bit, however the work is
// divided.
#include "activeset/batch.hpp"

#include <atomic>
#include <cstring>
#include <map>
#include <optional>
#include <random>

#include "frontend/generator.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

class BatchThreads : public FreshState {};

constexpr std::size_t Gap = 3;  // numbers between the parts of two problems
constexpr double Untouched = 1234.5;

/// Problems of one shape with their data one after the other.
struct Batch {
    std::size_t count, n, m;
    Numbers H, c, A, rowLower, rowUpper, lower, upper, constant, start;

    /// With `anything` also singular and contradictory ones, and such with faults.
    Batch(std::size_t size, std::size_t variables, std::size_t rows, bool anything)
        : count(size), n(variables), m(rows) {
        for (unsigned seed = 0; constant.size() < count; ++seed) {
            Sample sample = randomSample(seed, n, anything);
            if (sample.n != n || (m != 0 && sample.m < m)) {
                continue;
            }
            const std::size_t k = constant.size();
            if (anything && k % 11 == 5) {
                contradict(sample);
            }
            for (std::size_t j = 0; j < n; ++j) {
                A.insert(A.end(), sample.A.begin() + static_cast<std::ptrdiff_t>(j * sample.m),
                         sample.A.begin() + static_cast<std::ptrdiff_t>(j * sample.m + m));
            }
            sample.c[0] = anything && k % 13 == 7 ? std::nan("") : sample.c[0];
            append(H, sample.H, n * n);
            append(c, sample.c, n);
            append(rowLower, sample.rowLower, m);
            append(rowUpper, sample.rowUpper, m);
            append(lower, sample.lower, n);
            append(upper, sample.upper, n);
            append(start, sample.start, n);
            A.resize(A.size() + Gap, std::nan(""));
            constant.push_back(static_cast<double>(k));
        }
    }

    /// Its first two rows.
    static void contradict(Sample& sample) {
        for (std::size_t j = 0; j < sample.n; ++j) {
            sample.A[j * sample.m + 1] = sample.A[j * sample.m];
        }
        sample.rowLower[0] = -Infinity;
        sample.rowUpper[0] = -50.0;
        sample.rowLower[1] = 50.0;
        sample.rowUpper[1] = Infinity;
    }

    static void append(Numbers& all, const Numbers& values, std::size_t size) {
        all.insert(all.end(), values.begin(), values.begin() + static_cast<std::ptrdiff_t>(size));
        all.resize(all.size() + Gap, std::nan(""));
    }

    [[nodiscard]] ProblemBatch view(bool sharesMatrices) const {
        return {.count = count,
                .H = {{H.data(), n, n}, sharesMatrices ? 0 : n * n + Gap},
                .c = {{c.data(), n}, n + Gap},
                .A = {{A.data(), m, n}, sharesMatrices ? 0 : m * n + Gap},
                .rowLower = {{rowLower.data(), m}, m + Gap},
                .rowUpper = {{rowUpper.data(), m}, m + Gap},
                .lower = {{lower.data(), n}, n + Gap},
                .upper = {{upper.data(), n}, n + Gap},
                .constant = {{constant.data(), 1}, 1},
                .start = {{start.data(), n}, n + Gap}};
    }
};

/// A part of a batch as a batch of its own.
ProblemBatch partOf(ProblemBatch problems, std::size_t first, std::size_t count) {
    problems.count = count;
    for (VectorBatch* part : {&problems.c, &problems.rowLower, &problems.rowUpper, &problems.lower,
                              &problems.upper, &problems.constant, &problems.start}) {
        part->first = (*part)[first];
    }
    problems.H.first = problems.H[first];
    problems.A.first = problems.A[first];
    return problems;
}

/// All that a batch can be asked for; rows of x have gaps.
struct Answers {
    Numbers x, y, z, objective;
    std::vector<Status> status;
    std::vector<Certificate> certificate;
    std::vector<Iterations> iterations;

    explicit Answers(const ProblemBatch& problems)
        : x(problems.count * (problems.c.first.size() + Gap), Untouched),
          y(problems.count * problems.A.first.rows(), Untouched),
          z(problems.count * problems.c.first.size(), Untouched),
          objective(problems.count, Untouched),
          status(problems.count),
          certificate(problems.count),
          iterations(problems.count) {}

    [[nodiscard]] BatchOut from(std::size_t k, const ProblemBatch& problems) {
        const std::size_t n = problems.c.first.size();
        return {.x = {x.data() + k * (n + Gap), n + Gap},
                .y = {y.data() + k * problems.A.first.rows()},
                .z = {z.data() + k * n},
                .objective = objective.data() + k,
                .status = status.data() + k,
                .certificate = certificate.data() + k,
                .iterations = iterations.data() + k};
    }
};

/// As bytes, so that NaN is NaN.
template <class T>
void expectSameBytes(const std::vector<T>& a, const std::vector<T>& b, const char* what) {
    ASSERT_EQ(a.size(), b.size());
    for (std::size_t k = 0; k < a.size(); ++k) {
        ASSERT_EQ(std::memcmp(&a[k], &b[k], sizeof(T)), 0) << what << " " << k;
    }
}

void expectSame(const Answers& a, const Answers& b) {
    expectSameBytes(a.x, b.x, "x");
    expectSameBytes(a.y, b.y, "y");
    expectSameBytes(a.z, b.z, "z");
    expectSameBytes(a.objective, b.objective, "objective");
    expectSameBytes(a.status, b.status, "status");
    expectSameBytes(a.certificate, b.certificate, "certificate");
    expectSameBytes(a.iterations, b.iterations, "iterations");
}

Answers answersOf(const ProblemBatch& problems, const ManySettings& settings = {}) {
    Answers answers(problems);
    const std::size_t optimal = solveBatch(problems, answers.from(0, problems), settings);
    EXPECT_EQ(optimal,
              static_cast<std::size_t>(std::ranges::count(answers.status, Status::Optimal)));
    return answers;
}

/// What single solves say, written as a batch writes it.
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

/// In pieces of several sizes; with chains, of whole ones.
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

// Small strictly convex ones; any H, for the proximal loop; and such for the general road alone.
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
