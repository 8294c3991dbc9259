// Every answer comes with its proof: optimum, Farkas vector, ray or negative curvature. At most one
// of them exists for a problem, so an answer whose proof holds is the right one.
#include "frontend/generator.hpp"
#include "io/reader.hpp"
#include "support/fixture.hpp"
#include "support/folders.hpp"
#include "support/shared.hpp"

namespace activeset::test {
namespace {

class FrontEndAnswers : public FreshState {};

void expectProof(const Sample& sample, const Result& result) {
    EXPECT_EQ(exact::falseClaim(sample, result), "");
    EXPECT_LE(result.status, Status::NotConvex) << textOf(result.status);
    EXPECT_EQ(std::isnan(result.objective),
              result.status == Status::Infeasible || result.status == Status::NotConvex);
}

TEST_F(FrontEndAnswers, AreProvedWhateverTheProblem) {
    std::map<Status, int> met;
    for (unsigned seed = 0; seed < 1500; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        const Sample sample = randomSample(seed, seed % 10 == 0 ? 30 : 8, true);
        const Result result = solve(sample.view());
        expectProof(sample, result);
        ++met[result.status];
        if (HasFailure()) {
            return;
        }
    }
    for (const Status status :
         {Status::Optimal, Status::Infeasible, Status::Unbounded, Status::NotConvex}) {
        EXPECT_GT(met[status], 10) << textOf(status);
    }
}

// Cones whose tip is the start. Many more constraints than variables are active there, so that
// steps of length zero follow one another, with linear and semidefinite objectives. With 60
// variables a cycle may only return to its first working set after hundreds of thousands of steps.
TEST_F(FrontEndAnswers, AreFoundAtTheTipsOfConesWithoutTurningInCircles) {
    for (unsigned seed = 0; seed < 200; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937_64 bits(seed);
        const auto digit = [&] { return static_cast<double>(bits() % 3) - 1.0; };
        Sample s;
        s.n = seed < 190 ? 2 + bits() % 20 : 60;
        s.m = s.n * (1 + bits() % 5);
        s.A.resize(s.m * s.n);
        s.c.resize(s.n);
        std::ranges::generate(s.A, digit);
        std::ranges::generate(s.c, digit);
        Numbers root(s.n);
        std::ranges::generate(root, digit);
        for (std::size_t k = 0; k < s.n * s.n && seed % 2 == 0; ++k) {
            s.H.push_back(root[k / s.n] * root[k % s.n]);
        }
        s.rowLower.assign(s.m, -Infinity);
        s.rowUpper.assign(s.m, 0.0);
        s.lower.assign(s.n, -1.0);
        s.upper.assign(s.n, 1.0);
        const Result result = solve(s.view(), {.startMode = Start::Cold});
        ASSERT_EQ(result.status, Status::Optimal);
        expectProof(s, result);
        EXPECT_LT(result.iterations.main, 20 * s.n);
    }
}

// Two parallel equations that contradict each other. A linear program without other constraints
// goes very far, and there both seem to hold relative to the size of x.
TEST_F(FrontEndAnswers, FindContradictionsHoweverFarThePointsGo) {
    for (unsigned seed = 0; seed < 600; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937_64 bits(seed);
        std::normal_distribution<double> normal;
        Sample s;
        s.n = 2 + bits() % 3;
        s.m = 2;
        const double factor = -2.0 * std::pow(10.0, static_cast<double>(bits() % 7) - 3.0);
        for (std::size_t j = 0; j < s.n; ++j) {
            s.A.push_back(normal(bits));
            s.A.push_back(factor * s.A.back());
            s.c.push_back(normal(bits));
        }
        const double side = normal(bits);
        const double apart = (seed % 3 == 0 ? 1e-4 : 0.3) * (0.1 + std::abs(normal(bits)));
        s.rowLower = s.rowUpper = {side, factor * (side + apart)};
        if (seed % 4 == 1) {
            s.H.assign(s.n * s.n, 0.0);
            s.H[0] = 1.0;
        }
        s.lower.assign(s.n, seed % 2 == 0 ? -Infinity : -1e6);
        s.upper.assign(s.n, Infinity);
        for (const Start start : {Start::Automatic, Start::Cold}) {
            Settings settings;
            settings.startMode = start;
            const Result result = solve(s.view(), settings);
            ASSERT_EQ(result.status, Status::Infeasible) << textOf(result.status);
            expectProof(s, result);
        }
    }
}

TEST_F(FrontEndAnswers, HaveMultipliersPositiveAtUpperAndNegativeAtLowerSides) {
    const double H[] = {1.0, 0.0, 0.0, 1.0};
    const double A[] = {1.0, 1.0};
    const auto multiplierOf = [&](double lower, double upper) {
        const Result r = solve({.H = {H, 2, 2},
                                .c = Numbers{0.0, 0.0},
                                .A = {A, 1, 2},
                                .rowLower = Numbers{lower},
                                .rowUpper = Numbers{upper}});
        EXPECT_EQ(r.status, Status::Optimal);
        EXPECT_EQ(r.workingSet.rowsAtUpper.size(), upper < 0.0 && lower < upper ? 1U : 0U);
        EXPECT_EQ(r.workingSet.rowsAtLower.size(), lower > 0.0 && lower < upper ? 1U : 0U);
        EXPECT_EQ(r.workingSet.equalities.size(), lower == upper ? 1U : 0U);
        return r.y[0];
    };
    EXPECT_NEAR(multiplierOf(2.0, 4.0), -1.0, 1e-14);
    EXPECT_NEAR(multiplierOf(-4.0, -2.0), 1.0, 1e-14);
    EXPECT_NEAR(multiplierOf(-Infinity, -6.0), 3.0, 1e-14);
    EXPECT_NEAR(multiplierOf(2.0, 2.0), -1.0, 1e-14);
    EXPECT_EQ(multiplierOf(-1.0, 1.0), 0.0);
    // x has 3 at its lower bound, −2 at its upper bound, and 5 where both are equal.
    const Result r = solve({.H = {Numbers{1, 0, 0, 0, 1, 0, 0, 0, 1}, 3, 3},
                            .c = Numbers{0.0, 0.0, 0.0},
                            .lower = Numbers{3.0, -9.0, 5.0},
                            .upper = Numbers{9.0, -2.0, 5.0},
                            .constant = 1.0});
    EXPECT_EQ(r.z, (Numbers{-3.0, 2.0, -5.0}));
    EXPECT_EQ(r.objective, 0.5 * (9.0 + 4.0 + 25.0) + 1.0);
    EXPECT_EQ(r.workingSet.atLower, std::vector<std::size_t>{0});
    EXPECT_EQ(r.workingSet.atUpper, std::vector<std::size_t>{1});
    EXPECT_EQ(r.workingSet.fixed, std::vector<std::size_t>{2});
}

/// A matrix given by columns, as a caller may have it: by rows or columns, with gaps between them.
Numbers stored(const Numbers& columns, std::size_t rows, Order order, std::size_t gap) {
    const std::size_t cols = columns.size() / rows;
    const bool byColumns = order == Order::ColumnMajor;
    Numbers values;
    for (std::size_t k = 0; k < (byColumns ? cols : rows); ++k) {
        for (std::size_t l = 0; l < (byColumns ? rows : cols); ++l) {
            values.push_back(byColumns ? columns[k * rows + l] : columns[l * rows + k]);
        }
        values.insert(values.end(), gap, std::numeric_limits<double>::quiet_NaN());
    }
    return values;
}

// Views know rows from columns and skip the gaps between columns: on the small road, and on the
// general one, which counted passes lead to.
TEST_F(FrontEndAnswers, DoNotDependOnHowTheMatricesAreStored) {
    const Sample s = randomSample(5, 8, false);
    for (const std::size_t mostPasses : {0U, 100000U}) {
        const Settings settings{.startMode = Start::Predict, .maxIterations = mostPasses};
        const Result expected = solve(s.view(), settings);
        for (const auto& [order, gap] : {std::pair<Order, std::size_t>{Order::ColumnMajor, 3},
                                         {Order::RowMajor, 0},
                                         {Order::RowMajor, 3}}) {
            const bool byColumns = order == Order::ColumnMajor;
            const Numbers H = stored(s.H, s.n, order, gap);
            const Numbers A = stored(s.A, s.m, order, gap);
            Problem problem = s.view();
            problem.H = MatrixView(H.data(), s.n, s.n, s.n + gap, order);
            problem.A = MatrixView(A.data(), s.m, s.n, (byColumns ? s.m : s.n) + gap, order);
            const Result result = solve(problem, settings);
            EXPECT_EQ(result.x, expected.x);
            EXPECT_EQ(result.y, expected.y);
        }
    }
}

TEST_F(FrontEndAnswers, AreTheSameBitForBit) {
    for (unsigned seed = 0; seed < 50; ++seed) {
        const Sample sample = randomSample(seed, 20, true);
        const Result a = solve(sample.view());
        const Result b = solve(sample.view());
        EXPECT_EQ(a.x, b.x);
        EXPECT_EQ(a.y, b.y);
        EXPECT_EQ(a.iterations.main, b.iterations.main);
    }
}

/// Rows that meet in a point, some of which nearly repeat another. Of the first two, one or both
/// hold x there; if not `isDegenerate`, all rows do, and there are no repetitions.
Sample vertexSample(unsigned seed, std::size_t n, std::size_t m, bool isDegenerate) {
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<double> number(-1.0, 1.0);
    Sample s{n,
             m,
             Numbers(n * n),
             Numbers(n),
             Numbers(m * n),
             Numbers(m, -Infinity),
             Numbers(m),
             Numbers(n, -Infinity),
             Numbers(n, Infinity),
             Numbers(n)};
    std::generate(s.A.begin(), s.A.end(), [&] { return number(random); });
    for (std::size_t i = 3; i < m && isDegenerate; ++i) {
        const std::size_t other = 1 + random() % (i - 1);
        for (std::size_t j = 0; j < n && (i + seed) % 2 != 0; ++j) {
            s.A[j * m + i] = s.A[j * m + other] + 1e-6 * number(random);
        }
    }
    for (std::size_t j = 0; j < n; ++j) {
        const double x = number(random);
        s.H[j * n + j] = 1.0;
        s.c[j] = -x;
        for (std::size_t i = 0; i < m; ++i) {
            s.rowUpper[i] += s.A[j * m + i] * x;
            s.c[j] -= isDegenerate && i > seed / 2 % 2 ? 0.0 : 0.5 * s.A[j * m + i];
        }
    }
    return s;
}

TEST_F(FrontEndAnswers, AtVerticesDoNotDependOnWhatWasSolvedBefore) {
    for (unsigned seed = 0; seed < 500; ++seed) {
        const std::size_t n = 3 + seed % 3;
        const std::size_t m = 6 + seed / 3 % 3;
        const Sample sample = vertexSample(seed, n, m, true);
        releaseWorkspaces();
        const Result first = solve(sample.view());
        static_cast<void>(solve(vertexSample(seed, n, m, false).view()));
        const Result second = solve(sample.view());
        ASSERT_EQ(first.x, second.x) << "seed " << seed;
        ASSERT_EQ(first.y, second.y) << "seed " << seed;
        ASSERT_EQ(first.certificate.gap.absolute, second.certificate.gap.absolute)
            << "seed " << seed;
    }
}

Sample sampleOf(const io::Model& file) {
    return {file.n(),      file.m(),      file.H,     file.c,     file.A,
            file.rowLower, file.rowUpper, file.lower, file.upper, Numbers(file.n())};
}

// Real problems, most of them with a singular H, solved to the last digits of doubles.
TEST_F(FrontEndAnswers, OfRealProblemsAreOptimal) {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(examplesFolder() + "/problems")) {
        if (entry.path().extension() == ".qps") {
            files.push_back(entry.path());
        }
    }
    EXPECT_GE(files.size(), 9U);
    for (const char* const name :
         {"DUALC1", "QADLITTL", "QAFIRO", "QBEACONF", "QSC205", "QSCAGR7", "QSHARE2B", "TAME"}) {
        const auto file = shared(std::string("problems/maros/") + name + ".QPS");
        if (!file.empty()) {
            files.push_back(file);
        }
    }
    for (const auto& file : files) {
        SCOPED_TRACE(file.string());
        const Sample sample = sampleOf(io::readModel(file.string()));
        const Result result = solve(sample.view());
        EXPECT_EQ(result.status, Status::Optimal);
        EXPECT_TRUE(result.certificate.holds(1e-11));
        expectProof(sample, result);
    }
}

}  // namespace
}  // namespace activeset::test
