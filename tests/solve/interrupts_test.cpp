// Solves that the interrupt flag or an error stops in the middle.
#include <gtest/gtest.h>
#include <sys/time.h>

#include <chrono>
#include <csignal>
#include <iostream>
#include <random>
#include <stdexcept>
#include <streambuf>
#include <thread>

#include "solve/examples.hpp"
#include "solve/recorder.hpp"
#include "support/fixture.hpp"
#include "support/plain_problem.hpp"

namespace activeset::test {
namespace {

using std::chrono::microseconds;
using std::chrono::steady_clock;

class Interrupts : public FreshState {
protected:
    /// Interrupts one solve after another, each after a random time, until many have ended early.
    /// `arm` arranges that the flag is set after that time. It returns what must be called before
    /// the flag may be cleared.
    template <class Arm>
    void interruptMany(Arm arm) {
        constexpr std::uint32_t Seed = 20;
        constexpr int Wanted = 40;
        SCOPED_TRACE("seed " + std::to_string(Seed));
        std::mt19937 generator(Seed);
        // The solve takes milliseconds, so that a woken thread finds it running.
        const Problem problem = longWay(Seed, 120, 70);
        const auto start = steady_clock::now();
        const std::vector<std::uint64_t> undisturbed = bits(solve(problem).x);
        const auto longest = std::chrono::duration_cast<microseconds>(steady_clock::now() - start);
        std::uniform_int_distribution<std::int64_t> times(1, longest.count());
        // On a busy machine most flags come too late, so the time limits the number of trials.
        const auto patience = start + std::chrono::seconds(20);
        int interrupted = 0;
        for (int trial = 0; interrupted < Wanted && steady_clock::now() < patience; ++trial) {
            Bench bench(problem);
            const auto disarm = arm(microseconds(times(generator)));
            const ASsolution solution = solveAndCount(bench, problem);
            const bool isCutShort = pending_[0] + pending_[1] > 0;
            disarm();
            judge(solution, problem, bench, undisturbed);
            interrupted += isCutShort && solution.getSolutoinState() != ASQP::Optimal ? 1 : 0;
            if (HasFailure()) {
                FAIL() << "trial " << trial;
            }
            if (utInterruptState::flags_pending != 0) {
                EXPECT_EQ(solve(box(4)).state, ASQP::Interrupted) << "the flag was cleared";
                EXPECT_EQ(lastSolveReport().iterations, 1);
                utInterruptState::flags_pending = 0;
            }
        }
        EXPECT_GT(interrupted, 0);
        EXPECT_EQ(bits(solve(problem).x), undisturbed);
    }

private:
    /// Counts the rows of each phase at which the flag is set. Every pass ends with a row.
    ASsolution solveAndCount(Bench& bench, const Problem& problem) {
        pending_ = {};
        RowOptions options([&] {
            const bool isPhaseOne = bench.solver.getConstraint()->getProblemType() == "PhaseI";
            pending_.at(isPhaseOne ? 1 : 0) += utInterruptState::flags_pending & 1U;
        });
        options.setMaxIter(Limits{}.maxIter);
        options.setTolX(Limits{}.tolX);
        return bench.solver(*bench.objective, bench.constraint, column(problem.start()), options,
                            nullptr, nullptr, nullptr);
    }

    void judge(const ASsolution& solution,
               const Problem& problem,
               const Bench& bench,
               const std::vector<std::uint64_t>& undisturbed) const {
        const int state = solution.getSolutoinState();
        const int phaseOne = bench.solver.getPhaseOneOutcome().state;
        const Numbers x = values(solution.xstarRef());
        // The pass that was running had already looked at the flag; the next one sees it.
        EXPECT_LE(pending_[1], 2U);
        EXPECT_LE(pending_[0], 2U);
        EXPECT_EQ(utInterruptMode::depth(), 0);
        EXPECT_EQ(utInterruptMode::current(), -1);
        if (state == ASQP::Optimal) {
            EXPECT_LE(pending_[0], 1U);
            EXPECT_EQ(bits(x), undisturbed);
            return;
        }
        EXPECT_EQ(state == ASQP::Infeasible ? phaseOne : state, ASQP::Interrupted);
        for (const RowConstraint& constraint : constraintsOf(problem)) {
            const double excess = dot(constraint.row, x) - constraint.rhs;
            EXPECT_TRUE(std::isfinite(excess));
            if (constraint.isEquality) {
                EXPECT_NEAR(excess, 0.0, 1e-9);
            } else if (state == ASQP::Interrupted) {
                EXPECT_LE(excess, 1e-6);
            }
        }
        const double f = objectiveAt(problem, x);
        EXPECT_NEAR(solution.fstarRef()(0, 0), f, 1e-12 * (1.0 + std::abs(f)));
    }

    std::array<unsigned, 2> pending_{};  ///< of the main loop, of phase one
};

using InterruptThreads = Interrupts;

TEST_F(InterruptThreads, TheFlagSetByAnotherThreadEndsASolveWithinAPass) {
    interruptMany([](microseconds time) {
        return [setter = std::make_shared<std::jthread>([time] {
                    std::this_thread::sleep_for(time);
                    utInterruptState::flags_pending = 1;
                })] { setter->join(); };
    });
}

TEST_F(Interrupts, TheFlagSetByASignalHandlerEndsASolveWithinAPass) {
    std::signal(SIGALRM, [](int /*signal*/) { utInterruptState::flags_pending = 1; });
    interruptMany([](microseconds time) {
        const itimerval once{{0, 0}, {0, static_cast<suseconds_t>(time.count())}};
        setitimer(ITIMER_REAL, &once, nullptr);
        return [] {
            const itimerval never{};
            setitimer(ITIMER_REAL, &never, nullptr);
        };
    });
    std::signal(SIGALRM, SIG_DFL);
}

TEST_F(Interrupts, OnlyTheLowestBitOfTheFlagCounts) {
    const PendingInterrupt clearedAtTheEnd;
    utInterruptState::flags_pending = 0xFE;
    EXPECT_EQ(solve(box(4)).state, ASQP::Optimal);
    EXPECT_EQ(utInterruptState::flags_pending, 0xFE);
}

/// A console that throws at one line.
class BreakingConsole : public std::streambuf {
public:
    explicit BreakingConsole(size_t at) : left_(at), previous_(std::cout.rdbuf(this)) {
        std::cout.exceptions(std::ios::badbit);
    }
    ~BreakingConsole() override {
        std::cout.exceptions(std::ios::goodbit);
        std::cout.rdbuf(previous_);  // clears badbit
    }
    BreakingConsole(const BreakingConsole&) = delete;
    BreakingConsole(BreakingConsole&&) = delete;
    BreakingConsole& operator=(const BreakingConsole&) = delete;
    BreakingConsole& operator=(BreakingConsole&&) = delete;

protected:
    std::streamsize xsputn(const char* /*text*/, std::streamsize length) override {
        if (left_-- == 0) {
            throw std::runtime_error("broken console");
        }
        return length;
    }

private:
    size_t left_;
    std::streambuf* previous_;
};

TEST_F(Interrupts, AnErrorInMidLoopLeavesTheModeAndNothingBehind) {
    const Problem problem = triangleFromOutside();
    const Result expected = solve(problem);
    Inputs in = inputsOf(problem);
    in[Input::Display] = vxCreateCharArray("testing");
    size_t raised = 0;
    // The option record raises an error at each row in turn; then the console does.
    const auto raisesAt = [&](size_t row, bool isConsole) {
        const CallScope scope;
        Outputs out{};
        try {
            if (isConsole) {
                const BreakingConsole console(row);
                invoke(in, out);
            } else {
                size_t rows = 0;
                RowOptions options([&] {
                    if (rows++ == row) {
                        vxErrMsgIdAndTxt("test:row", "stop");
                    }
                });
                Bench bench(problem);
                bench.solver(*bench.objective, bench.constraint, column(problem.start()), options,
                             nullptr, nullptr, nullptr);
            }
        } catch (const std::exception&) {
            ++raised;
            EXPECT_EQ(out, Outputs{});
            return true;
        }
        return false;
    };
    const auto arrays = liveArrayCount();
    for (const bool isConsole : {false, true}) {
        for (size_t row = 0; raisesAt(row, isConsole); ++row) {
            EXPECT_EQ(utInterruptMode::depth(), 0);
            EXPECT_EQ(utInterruptMode::current(), -1);
            EXPECT_EQ(solve(problem), expected);  // also releases the pool
            EXPECT_EQ(liveArrayCount(), arrays);
        }
    }
    EXPECT_GT(raised, 12U);
}

}  // namespace
}  // namespace activeset::test
