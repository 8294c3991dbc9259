// Solves that start where another one ended give the answers of cold solves.
#include "frontend/generator.hpp"
#include "frontend/same_bits.hpp"
#include "support/fixture.hpp"

namespace activeset::test {
namespace {

class Sequences : public FreshState {};

void expectSameAnswer(const Sample& sample, const Result& warm) {
    const Result cold = solve(sample.view());
    ASSERT_EQ(warm.status, cold.status);
    if (cold.status == Status::Optimal) {
        EXPECT_EQ(exact::falseClaim(sample, warm), "");
        EXPECT_NEAR(warm.objective, cold.objective, 1e-8 * std::max(1.0, std::abs(cold.objective)));
    }
}

// Changes one problem into another of the same shape, part by part. Sides come and go, equalities
// become inequalities, and problems become infeasible, unbounded and solvable again.
TEST_F(Sequences, OfChangesGiveTheAnswersOfColdSolves) {
    std::map<Status, int> met;
    for (unsigned seed = 0; seed < 80; ++seed) {
        Sample sample = randomSample(seed, 10, true);
        Solver solver(sample.view());
        std::mt19937_64 bits(seed);
        for (unsigned step = 0; step < 12; ++step) {
            SCOPED_TRACE("seed " + std::to_string(seed) + ", step " + std::to_string(step));
            const auto randomised = [&](Numbers values, double size) {
                std::normal_distribution<double> normal(0.0, size);
                for (double& value : values) {
                    value += normal(bits);
                }
                return values;
            };
            if (step % 4 == 1) {
                sample.c = randomised(sample.c, step < 6 ? 0.01 : 3.0);
                solver.setLinear(sample.c);
            } else if (step % 4 == 2) {
                for (Numbers* sides : {&sample.rowLower, &sample.lower}) {
                    for (double& side : *sides) {
                        side = bits() % 8 == 0 ? -Infinity : side - 0.1;
                    }
                }
                solver.setRowSides(sample.rowLower, sample.rowUpper);
                solver.setBounds(sample.lower, sample.upper);
            } else if (step == 7) {
                sample.A = randomised(sample.A, 0.1);
                solver.setRows(MatrixView(sample.A, sample.m, sample.m == 0 ? 0 : sample.n));
            } else if (step == 11) {
                for (std::size_t j = 0; j < sample.n; ++j) {
                    sample.H[j * (sample.n + 1)] += 2.0;
                }
                solver.setHessian({sample.H, sample.n, sample.n});
            }
            const Result result = solver.solve();
            expectSameAnswer(sample, result);
            ++met[result.status];
            if (HasFailure()) {
                return;
            }
        }
    }
    EXPECT_GT(met[Status::Optimal], 100);
    EXPECT_GT(met[Status::Infeasible] + met[Status::Unbounded], 20);
}

TEST_F(Sequences, NeedNoPassWhereTheWorkingSetStays) {
    Sample sample = randomSample(7, 30, false);
    Solver solver(sample.view());
    ASSERT_TRUE(solver.solve());
    for (double& entry : sample.c) {
        entry += 1e-9;
    }
    solver.setLinear(sample.c);
    const Result again = solver.solve();
    EXPECT_EQ(again.iterations.phaseOne + again.iterations.main, 0U);
    expectSameAnswer(sample, again);
    // Without a start it is a first solve again.
    solver.restartFrom();
    const Iterations first = solver.solve().iterations;
    EXPECT_GT(first.prediction + first.dual, 0U);
}

/// Many bounds and hardly rows: where little changes the factors of the working set replace guesses
/// after some solves, until H is another one or much changes at once.
TEST_F(Sequences, OfManyBoundsChangeTheirMethodAndNoAnswer) {
    constexpr std::size_t n = 104;
    Numbers H(n * n, 0.0);
    Numbers c(n);
    const Numbers lower(n, -1.0);
    const Numbers upper(n, 1.0);
    std::mt19937_64 bits(1);
    std::normal_distribution<double> normal;
    for (std::size_t j = 0; j < n; ++j) {
        H[j * (n + 1)] = 4.0;
        H[j * n + (j + 1) % n] = H[(j + 1) % n * n + j] = -1.0;
        c[j] = 5.0 * normal(bits);
    }
    const Problem problem{.H = {H, n, n}, .c = c, .lower = lower, .upper = upper};
    Solver solver(problem);
    std::map<int, std::size_t> steps;  // of the dual method, which works on the factors
    for (int solves = 0; solves < 64; ++solves) {
        SCOPED_TRACE("solve " + std::to_string(solves));
        if (solves == 30) {
            H[0] = 40.0;
            solver.setHessian(problem.H);
        }
        const Result warm = solver.solve();
        const Result cold = solve(problem);
        ASSERT_TRUE(warm);
        EXPECT_TRUE(warm.certificate.holds(1e-12));
        EXPECT_NEAR(warm.objective, cold.objective, 1e-12 * std::abs(cold.objective));
        steps[(solves > 15) + (solves > 29) + (solves > 45) + (solves > 56)] +=
            warm.iterations.dual;
        for (double& entry : c) {
            entry += (solves == 55 ? 5.0 : 0.05) * normal(bits);
        }
        solver.setLinear(c);
    }
    EXPECT_EQ(steps[0] + steps[2] + steps[4], 0U);
    EXPECT_GT(steps[1], 0U);
    EXPECT_GT(steps[3], 0U);
}

/// One result for problems of all sizes and outcomes, faults included.
TEST_F(Sequences, LeaveNothingOfOtherSolvesInAResult) {
    Result into;
    std::map<Status, int> met;
    for (unsigned seed = 0; seed < 120; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Sample sample = randomSample(seed, 10, seed % 2 == 0);
        Solver solver(sample.view());
        Solver other(sample.view());
        for (int step = 0; step < 3; ++step) {
            const double far = seed % 7 == 0 && step == 1 ? std::nan("") : 0.5;
            sample.c.assign(sample.n, step * far);
            solver.setLinear(sample.c);
            other.setLinear(sample.c);
            solver.solve(into);
            expectSameBits(into, other.solve());
            ++met[into.status];
        }
    }
    for (const Status status :
         {Status::Optimal, Status::Infeasible, Status::Unbounded, Status::Invalid}) {
        EXPECT_GT(met[status], 0) << textOf(status);
    }
}

TEST_F(Sequences, SurviveWarmStartsThatMakeNoSense) {
    for (unsigned seed = 0; seed < 60; ++seed) {
        const Sample sample = randomSample(seed, 10, true);
        std::mt19937_64 bits(seed);
        WarmStart warm{Numbers(bits() % 20, seed % 3 == 0 ? std::nan("") : 1e3), {}};
        for (auto* list : {&warm.workingSet.equalities, &warm.workingSet.rowsAtLower,
                           &warm.workingSet.rowsAtUpper, &warm.workingSet.atLower,
                           &warm.workingSet.atUpper, &warm.workingSet.fixed}) {
            for (std::size_t k = bits() % 12; k > 0; --k) {
                list->push_back(bits() % 4 == 0 ? ~std::size_t{0} : bits() % 12);
            }
        }
        Problem problem = sample.view();
        problem.warmStart = &warm;
        const Result result = solve(problem);
        expectSameAnswer(sample, result);
        const WorkingSet& set = result.workingSet;
        for (const auto* rows : {&set.equalities, &set.rowsAtLower, &set.rowsAtUpper}) {
            EXPECT_TRUE(std::ranges::all_of(*rows, [&](std::size_t i) { return i < sample.m; }));
        }
        for (const auto* variables : {&set.atLower, &set.atUpper, &set.fixed}) {
            EXPECT_TRUE(
                std::ranges::all_of(*variables, [&](std::size_t j) { return j < sample.n; }));
        }
    }
}

/// A warm start with far more members than variables: work and memory must not grow with the square
/// of their number.
TEST_F(Sequences, ThinOutWarmStartsThatNameEverything) {
    constexpr std::size_t Rows = 20000;
    Sample s{2, Rows, {1, 0, 0, 1}, {-3, -4}, {}, {}, {}, {}, {}, {}};
    WarmStart warm;
    for (std::size_t i = 0; i < Rows; ++i) {
        s.rowUpper.push_back(1.0);
        warm.workingSet.rowsAtUpper.push_back(i);
    }
    s.rowLower.assign(Rows, -Infinity);
    for (std::size_t k = 0; k < 2 * Rows; ++k) {
        const double angle = static_cast<double>(k % Rows) * 1e-4;
        s.A.push_back(k < Rows ? std::cos(angle) : std::sin(angle));
    }
    Problem problem = s.view();
    problem.warmStart = &warm;
    const Result result = solve(problem);
    EXPECT_EQ(result.status, Status::Optimal);
    EXPECT_NEAR(std::hypot(result.x[0], result.x[1]), 1.0, 1e-8);
    EXPECT_LE(result.workingSet.size(), 2U);
}

TEST_F(Sequences, ReportAFaultUntilThePartIsSetAgain) {
    const Sample sample = randomSample(7, 30, false);
    Solver solver(sample.view());
    solver.setBounds(Numbers(sample.n, Infinity), {});
    solver.setLinear(Numbers(sample.n + 1, 0.0));
    EXPECT_EQ(solver.solve().faults.size(), sample.n + 1);
    solver.setBounds(sample.lower, sample.upper);
    EXPECT_EQ(solver.solve().faults.size(), 1U);
    solver.setLinear(sample.c);
    solver.setRows({});  // the sides stay
    EXPECT_EQ(solver.solve().faults.size(), 1U);
    solver.setRows({sample.A, sample.m, sample.n});
    expectSameAnswer(sample, solver.solve());
    // Settings hold for all later solves.
    solver.restartFrom();
    solver.settings().maxIterations = 1;
    EXPECT_EQ(solver.solve().status, Status::IterationLimit);
}

}  // namespace
}  // namespace activeset::test
