// Batches of random problems, and arrays for their answers.
#ifndef ACTIVESET_TESTS_FRONTEND_BATCH_DATA_HPP
#define ACTIVESET_TESTS_FRONTEND_BATCH_DATA_HPP

#include <gtest/gtest.h>

#include <cstring>

#include "activeset/batch.hpp"
#include "frontend/generator.hpp"

namespace activeset::test {

inline constexpr std::size_t Gap = 3;  // numbers between the data of two problems
inline constexpr double Untouched = 1234.5;

/// Problems of one shape; the data of each part lie one after the other.
struct Batch {
    std::size_t count, n, m;
    Numbers H, c, A, rowLower, rowUpper, lower, upper, constant, start;

    /// With `anything`, some problems are singular, infeasible or faulty.
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

    /// Makes the first two rows of a problem contradict each other.
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

/// A part of a batch, as a batch.
inline ProblemBatch partOf(ProblemBatch problems, std::size_t first, std::size_t count) {
    problems.count = count;
    for (VectorBatch* part : {&problems.c, &problems.rowLower, &problems.rowUpper, &problems.lower,
                              &problems.upper, &problems.constant, &problems.start}) {
        part->first = (*part)[first];
    }
    problems.H.first = problems.H[first];
    problems.A.first = problems.A[first];
    return problems;
}

/// Arrays for every output of a batch, with gaps between the rows of x.
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

/// Compares bytes, so NaN equals NaN.
template <class T>
void expectSameBytes(const std::vector<T>& a, const std::vector<T>& b, const char* what) {
    ASSERT_EQ(a.size(), b.size());
    for (std::size_t k = 0; k < a.size(); ++k) {
        ASSERT_EQ(std::memcmp(&a[k], &b[k], sizeof(T)), 0) << what << " " << k;
    }
}

inline void expectSame(const Answers& a, const Answers& b) {
    expectSameBytes(a.x, b.x, "x");
    expectSameBytes(a.y, b.y, "y");
    expectSameBytes(a.z, b.z, "z");
    expectSameBytes(a.objective, b.objective, "objective");
    expectSameBytes(a.status, b.status, "status");
    expectSameBytes(a.certificate, b.certificate, "certificate");
    expectSameBytes(a.iterations, b.iterations, "iterations");
}

}  // namespace activeset::test

#endif
