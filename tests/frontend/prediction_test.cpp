// Predicted starts change the way to an answer, never the answer.
#include <map>
#include <numeric>

#include "benchmarks/families.hpp"
#include "frontend/generator.hpp"
#include "frontend/predict/block_dual.hpp"
#include "frontend/predict/block_primal.hpp"
#include "frontend/predict/dual_active_set.hpp"
#include "frontend/proof/certificate.hpp"
#include "host/array_shelf.hpp"
#include "support/fixture.hpp"
#include "support/sample.hpp"

namespace activeset::test {
namespace {

class Predictions : public FreshState {};

Settings startingFrom(Start start) {
    Settings settings;
    settings.startMode = start;
    return settings;
}

void expectSameAnswer(const Result& predicted, const Result& cold) {
    ASSERT_EQ(predicted.status, cold.status);
    if (cold.status != Status::Optimal) {
        return;
    }
    EXPECT_NEAR(predicted.objective, cold.objective, 1e-8 * (1.0 + std::abs(cold.objective)));
    EXPECT_TRUE(predicted.certificate.holds(1e-9));
}

/// Small integers make constraints tie and depend on one another. Some problems are infeasible,
/// some are not convex.
TEST_F(Predictions, ChangeNoAnswer) {
    std::map<bool, int> met;
    for (unsigned seed = 0; seed < 600; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        const Sample sample = randomSample(seed, 12, seed % 2 == 0);
        const Result cold = solve(sample.view(), startingFrom(Start::Cold));
        EXPECT_FALSE(cold.wasPredicted);
        EXPECT_EQ(cold.iterations.prediction, 0U);
        const Result predicted = solve(sample.view(), startingFrom(Start::Predict));
        expectSameAnswer(predicted, cold);
        ++met[predicted.wasPredicted];
        if (predicted.wasPredicted && predicted.status == Status::Optimal) {
            EXPECT_EQ(exact::falseClaim(sample, predicted), "");
        }
    }
    EXPECT_GT(met[true], 100);
}

/// Runs the dual methods alone, from an empty set and from a wrong one. They end with an optimum
/// and its multipliers, with a contradiction, or ask for single steps.
TEST_F(Predictions, AreMadeByTheDualMethodsAlone) {
    std::map<Status, int> met;
    std::map<frontend::DualOutcome::End, int> ends[2];
    for (unsigned seed = 0; seed < 1000; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        const Sample sample = randomSample(seed, 12, seed % 2 == 0);
        const frontend::ProblemData data = frontend::copyOf(sample.view());
        frontend::Subproblem problem(data, 0.0);
        if (!data.quadratic || !problem.isDefinite() ||
            problem.factor()(data.n - 1, data.n - 1) < 1e-2) {
            continue;
        }
        const Settings settings = startingFrom(Start::Cold);
        const Result cold = solve(sample.view(), settings);
        ++met[cold.status];
        frontend::Control control(settings, 1000);
        frontend::Constraints first(data);
        for (std::size_t k = seed % 3; k < first.count() && seed % 5 == 0; k += 3) {
            if (first[k] == frontend::Side::None && first.upper(k) < Infinity) {
                first.hold(k, frontend::Side::Upper);
            }
        }
        const frontend::DualOutcome outcomes[]{
            frontend::BlockDual(problem, first, control).run(),
            solveDual(data, problem.factor(), frontend::Constraints(data), control)};
        for (const frontend::DualOutcome& outcome : outcomes) {
            ++ends[&outcome - outcomes][outcome.end];
            if (cold.status == Status::Infeasible) {
                EXPECT_NE(outcome.end, frontend::DualOutcome::Optimal);
            } else if (outcome.end == frontend::DualOutcome::Optimal) {
                for (std::size_t j = 0; j < data.n; ++j) {
                    EXPECT_NEAR(outcome.point.x[j], cold.x[j], 1e-7 * (1.0 + std::abs(cold.x[j])));
                }
                EXPECT_TRUE(frontend::judge(data, outcome.point).certificate.holds(1e-7));
            } else {
                EXPECT_NE(outcome.end, frontend::DualOutcome::Infeasible);
            }
        }
    }
    for (auto& ended : ends) {
        EXPECT_GE(ended[frontend::DualOutcome::Optimal], met[Status::Optimal] * 95 / 100);
        EXPECT_GT(ended[frontend::DualOutcome::Infeasible], 5);
    }
    EXPECT_GT(met[Status::Optimal], 100);
}

/// A box and an equality. H has rank 4 apart from 1e-8·I. x = (1, …, 1) satisfies the equality.
Sample nearlySingular(std::size_t n, unsigned seed) {
    Sample s{n, 1, Numbers(n * n), {}, {}, {}, {}, Numbers(n, 0.0), Numbers(n, 2.0), {}};
    std::mt19937_64 bits(seed);
    std::normal_distribution<double> normal;
    Numbers root(4 * n);
    std::ranges::generate(root, [&] { return normal(bits); });
    for (std::size_t k = 0; k < n * n; ++k) {
        s.H[k] = k % (n + 1) == 0 ? 1e-8 : 0.0;
        for (std::size_t r = 0; r < 4; ++r) {
            s.H[k] += root[k / n * 4 + r] * root[k % n * 4 + r];
        }
    }
    for (std::size_t j = 0; j < n; ++j) {
        s.c.push_back(normal(bits));
        s.A.push_back(bits() % 2 == 0 ? 1.0 : -1.0);
    }
    s.rowLower = s.rowUpper = {std::accumulate(s.A.begin(), s.A.end(), 0.0)};
    return s;
}

/// H is nearly singular, so guessing cycles; the primal method finds the set. Begun at the minimum
/// it is there at once.
TEST_F(Predictions, AreMadeByThePrimalMethodAlone) {
    int ended = 0;
    for (unsigned seed = 0; seed < 200; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Sample s = nearlySingular(10 + seed % 40, seed);
        const frontend::ProblemData data = frontend::copyOf(s.view());
        frontend::Subproblem problem(data, 0.0);
        ASSERT_TRUE(frontend::BlockPrimal::suits(data));
        const Settings settings;
        frontend::Control control(settings, 1000);
        frontend::Constraints first(data);
        for (std::size_t k = 1; k < first.count() && seed % 3 == 0; k += 2) {
            first.hold(k, frontend::Side::Upper);
        }
        frontend::BlockPrimal primal(problem, Numbers(s.n, 0.0), first, control);
        if (!primal.run()) {
            continue;  // rounding stopped it
        }
        ++ended;
        EXPECT_LE(primal.steps(), 4 * s.n);
        const Result found = solve(s.view());
        EXPECT_EQ(primal.sides().workingSet(), found.workingSet);
        frontend::BlockPrimal again(problem, found.x, primal.sides(), control);
        EXPECT_TRUE(again.run());
        EXPECT_EQ(again.steps(), 1U);
    }
    EXPECT_GE(ended, 180);
    Sample s = nearlySingular(10, 0);
    s.rowLower = s.rowUpper = {21.0};
    const frontend::ProblemData data = frontend::copyOf(s.view());
    frontend::Subproblem problem(data, 0.0);
    const Settings settings;
    frontend::Control control(settings, 1000);
    EXPECT_FALSE(
        frontend::BlockPrimal(problem, Numbers(s.n, 0.0), frontend::Constraints(data), control)
            .run());
}

/// The rows that a contradiction does not need must not be dropped one by one.
TEST_F(Predictions, EndAtAContradictionWithTheRowsThatItNeeds) {
    for (const std::uint64_t seed : {1U, 2U, 3U}) {
        const bench::Problem p = bench::randomProblem(60, 0.6, seed);
        frontend::ProblemData data;
        data.n = p.n;
        data.m = p.mIneq + 1;
        data.quadratic = true;
        data.H = frontend::LargeVector(p.H);
        frontend::LargeVector& A = data.A.change();
        data.c = p.c;
        for (std::size_t j = 0; j < p.n; ++j) {
            const double* column = p.A.data() + j * p.mIneq;
            A.insert(A.end(), column, column + p.mIneq);
            A.push_back(-column[0] - column[1] - column[2]);
        }
        data.rowLower.assign(data.m, -Infinity);
        data.rowUpper = p.b;
        data.rowUpper.push_back(-p.b[0] - p.b[1] - p.b[2] - 1.0);
        data.lower = p.lb;
        data.upper = p.ub;
        frontend::Subproblem problem(data, 0.0);
        const Settings settings;
        frontend::Control control(settings, 1000);
        const frontend::DualOutcome outcome =
            frontend::BlockDual(problem, frontend::Constraints(data), control).run();
        ASSERT_EQ(outcome.end, frontend::DualOutcome::Infeasible);
        EXPECT_LE(outcome.steps, 30U);
        EXPECT_EQ(std::ranges::count(outcome.point.z, 0.0), static_cast<long>(p.n));
        EXPECT_EQ(std::ranges::count(outcome.point.y, 0.0), static_cast<long>(data.m) - 4);
    }
}

/// With this Hessian (Curtis, Han and Robinson 2015) guessing cycles for some c. With bounds on
/// strongly correlated variables it cycles occasionally.
TEST_F(Predictions, LeaveCircles) {
    int circles = 0;
    const auto expectAnswer = [&](const Sample& sample, const WarmStart& warm) {
        Problem problem = sample.view();
        problem.warmStart = &warm;  // the start of the guess is given
        const Result predicted = solve(problem);
        expectSameAnswer(predicted, solve(sample.view(), startingFrom(Start::Cold)));
        EXPECT_TRUE(predicted.wasPredicted);
        EXPECT_LE(predicted.iterations.dual, 5 * sample.n);
        circles += predicted.iterations.dual > 0 ? 1 : 0;
    };
    for (int k = 0; k < 10 * 4 * 20; ++k) {
        Sample s{3, 0, {4, 5, -5, 5, 9, -5, -5, -5, 7}, {}, {}, {}, {}, {}, {0, 0, 0}, {}};
        s.c = {k % 10 + 1.0, k / 10 % 4 + 1.0, -k / 40 - 1.0};
        expectAnswer(s, {{}, {.atUpper = {static_cast<std::size_t>(k % 3)}}});
    }
    EXPECT_GE(circles, 10);
    circles = 0;
    for (unsigned seed = 0; seed < 2000; ++seed) {
        Sample s = randomSample(seed, 8, false);
        std::mt19937_64 bits(seed);
        std::normal_distribution<double> normal;
        Numbers root(s.n * s.n);
        std::ranges::generate(root, [&] { return normal(bits); });
        for (std::size_t k = 0; k < s.n * s.n; ++k) {
            s.H[k] = k % (s.n + 1) == 0 ? 1e-3 : 0.0;
            for (std::size_t r = 0; r + 2 < s.n; ++r) {
                s.H[k] += root[k / s.n * s.n + r] * root[k % s.n * s.n + r];
            }
        }
        s.m = 0;
        for (Numbers* part : {&s.A, &s.rowLower, &s.rowUpper, &s.lower}) {
            part->clear();
        }
        s.upper.assign(s.n, 0.0);
        expectAnswer(s, {{}, {.atUpper = {0}}});
    }
    EXPECT_GE(circles, 10);
}

/// A problem of the benchmarks as the front end takes it.
Sample sided(const bench::Problem& p) {
    Sample s{.n = p.n, .m = p.mIneq + p.mEq, .H = p.H, .c = p.c};
    s.A.resize(s.m * s.n);
    for (std::size_t j = 0; j < s.n; ++j) {
        std::copy_n(p.A.data() + j * p.mIneq, p.mIneq, s.A.data() + j * s.m);
        std::copy_n(p.Aeq.data() + j * p.mEq, p.mEq, s.A.data() + j * s.m + p.mIneq);
    }
    s.rowLower.assign(p.mIneq, -Infinity);
    s.rowLower.insert(s.rowLower.end(), p.beq.begin(), p.beq.end());
    s.rowUpper = p.b;
    s.rowUpper.insert(s.rowUpper.end(), p.beq.begin(), p.beq.end());
    s.lower = p.lb;
    s.upper = p.ub;
    return s;
}

/// The one for small problems, and the general one.
const Settings BothRoads[] = {{}, {.startMode = Start::Predict, .maxIterations = 1000}};

/// For these families and sizes the predicted set is the solution.
TEST_F(Predictions, AreTheWholeSolveOfWellBehavedFamilies) {
    struct Named {
        const char* name;
        bench::Problem problem;
    };
    for (const std::uint64_t seed : {1U, 2U, 3U}) {
        for (const Named& named : {Named{"a tenth active", bench::randomProblem(60, 0.1, seed)},
                                   Named{"a third active", bench::randomProblem(60, 0.3, seed)},
                                   Named{"box", bench::boxProblem(80, seed)}}) {
            SCOPED_TRACE(named.name);
            const Sample problem = sided(named.problem);
            const Result cold = solve(problem.view(), startingFrom(Start::Cold));
            for (const Settings& road : BothRoads) {
                const Result predicted = solve(problem.view(), road);
                expectSameAnswer(predicted, cold);
                EXPECT_TRUE(predicted.wasPredicted);
                EXPECT_LE(predicted.iterations.prediction, 15U);
                EXPECT_EQ(predicted.iterations.main + predicted.iterations.phaseOne, 0U);
                EXPECT_EQ(predicted.workingSet, cold.workingSet);
            }
        }
    }
}

/// By rows, by bounds, and by proximal steps, as H has a zero column.
TEST_F(Predictions, ReadNothingThatOthersLeftInArrays) {
    constexpr std::size_t Order = 140;
    const Settings general{.startMode = Start::Predict, .maxIterations = 100000};
    Sample singular = sided(bench::boxProblem(Order, 1));
    for (std::size_t k = 0; k < Order; ++k) {
        singular.H[k] = singular.H[k * Order] = 0.0;
    }
    for (const Sample& problem : {sided(bench::randomProblem(Order, 0.3, 1)),
                                  sided(bench::boxProblem(Order, 1)), singular}) {
        const Result before = solve(problem.view(), general);
        ASSERT_TRUE(before.wasPredicted);
        for (int k = 0; k < 20; ++k) {
            ArrayShelf::ofThread().give(ArrayShelf::Array(Order * Order, std::nan("")));
        }
        const Result after = solve(problem.view(), general);
        EXPECT_EQ(after.x, before.x);
        EXPECT_EQ(after.z, before.z);
        EXPECT_EQ(after.workingSet, before.workingSet);
    }
}

/// A problem whose optimum is known, and on the upper side of each row and bound. One in three of
/// these has no multiplier.
Sample touching(std::size_t n, std::size_t m, bool isBox, unsigned seed) {
    std::mt19937_64 bits(seed);
    std::normal_distribution<double> normal;
    const auto draw = [&](std::size_t count) {
        Numbers result(count);
        std::ranges::generate(result, [&] { return normal(bits); });
        return result;
    };
    const Numbers root = draw(n * n);
    const Numbers x = draw(n);
    Sample s{.n = n,
             .m = m,
             .H = Numbers(n * n),
             .c = Numbers(n),
             .A = draw(m * n),
             .rowUpper = Numbers(m),
             .lower = Numbers(n, -10.0),
             .upper = Numbers(n, 10.0)};
    for (std::size_t j = 0; j < n; ++j) {
        for (std::size_t k = 0; k < n; ++k) {
            for (std::size_t r = 0; r < n; ++r) {
                s.H[j * n + k] += root[j * n + r] * root[k * n + r] / static_cast<double>(n);
            }
            s.H[j * n + k] += j == k ? 1e-4 : 0.0;
            s.c[k] -= s.H[j * n + k] * x[j];
        }
        for (std::size_t i = 0; i < m; ++i) {
            s.rowUpper[i] += s.A[j * m + i] * x[j];
            s.c[j] -= i % 3 != 0 ? s.A[j * m + i] : 0.0;
        }
        s.upper[j] = isBox && j % 2 == 0 ? x[j] : s.upper[j];
    }
    for (std::size_t j = 0; j < n && isBox; j += 2) {
        s.c[j] -= j % 3 != 0 ? 1.0 : 0.0;
    }
    return s;
}

/// Rounding moves the solution of the sides with multipliers beyond some of the others. Predictions
/// meet them, too, so that hardly ever a pass of the core has to.
TEST_F(Predictions, MeetSidesWithoutMultipliers) {
    int left = 0;  // to the core, of 32
    for (unsigned seed = 1; seed <= 8; ++seed) {
        for (const std::size_t m : {0U, 12U}) {
            SCOPED_TRACE("seed " + std::to_string(seed) + ", rows " + std::to_string(m));
            const Sample problem = touching(m == 0 ? 120 : 50, m, m == 0, seed);
            for (const Settings& road : BothRoads) {
                const Result met = solve(problem.view(), road);
                ASSERT_EQ(met.status, Status::Optimal);
                if (m > 0 && road.maxIterations == 0) {
                    EXPECT_EQ(met.iterations.prediction, 1U);  // the general road took several
                }
                EXPECT_LE(met.certificate.primal.relative, 0x1p-49);
                left += met.iterations.main + met.iterations.phaseOne > 0 ? 1 : 0;
            }
        }
    }
    EXPECT_LE(left, 3);
}

}  // namespace
}  // namespace activeset::test
