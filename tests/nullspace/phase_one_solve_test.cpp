// Phase one: what it finds, what it hands on, and that it changes nothing else.
#include "engine/scripted_solver.hpp"

namespace activeset::test {
namespace {

class PhaseOne : public FreshState {};

TEST_F(PhaseOne, HandsOnAWorkingSetWithoutTheArtificialBoundAndWithRoomToMove) {
    using Vector = std::vector<double>;
    const auto expectLeft = [](const Problem& problem, const Vector& point, double artificial,
                               const Vector& ineq, const Vector& lower) {
        Bench bench(problem);
        NullSpaceAS& solver = bench.solver;
        bench.options.setTolX(.25);
        bench.options.setObjectiveLimit(-7);
        TestAccess::removeDependentEq(solver, bench.constraint);
        OPTMatrix<double> x(problem.n(), 1);
        double violation = bench.constraint.constrViolation(x).maximum().value;
        const Indices counts{OPTsizes::getnVar(), OPTsizes::getmUB(), OPTsizes::getmConstr()};
        TestAccess::phaseOne(solver, bench.constraint, bench.options, violation, x);
        EXPECT_EQ((Indices{OPTsizes::getnVar(), OPTsizes::getmUB(), OPTsizes::getmConstr()}),
                  counts);
        for (size_t i = 0; i < problem.n(); ++i) {
            EXPECT_NEAR(x(i, 0), point[i], 20 * Eps);
        }
        EXPECT_NEAR(violation, artificial, 20 * Eps);
        const auto lists = TestAccess::phaseOneLists(solver);
        EXPECT_EQ(values(lists[0].get()), ineq);
        EXPECT_EQ(values(lists[1].get()), lower);
        EXPECT_EQ(values(lists[2].get()), Vector{});
        EXPECT_EQ(bench.options.getTolX(), .25);
        EXPECT_EQ(bench.options.getObjectiveLimit(), -7);
        EXPECT_FALSE(solver.isInitialized());
    };
    // γ falls from 2 to 1, where the constraint blocks. Then x and γ move together until γ = 0.
    const Vector only{1, -Inf, -Inf};
    expectLeft({.H = {}, .c = {1, 1, 1}, .lb = only}, {1, 0, 0}, 0, {}, {1});
    expectLeft({.H = {}, .c = {1, 1}, .A = {{-2, 0}}, .b = {-2}}, {1, 0}, 0, {1}, {});
    // With one variable even the only constraint has to leave.
    expectLeft({.H = {}, .c = {1}, .lb = {1}}, {1}, 0, {}, {});
    // γ ≥ 1 − x and γ ≥ x, so γ is at least ½, at x = ½. Both constraints have to leave.
    expectLeft({.H = {}, .c = {1}, .lb = {1}, .ub = {0}}, {.5}, .5, {}, {});
    // x0 + x1 + x2 = 0 stays in the set; x0 ≥ 1 moves x1 and x2 down equally.
    expectLeft({.H = {}, .c = {1, 1, 1}, .Aeq = {{1, 1, 1}}, .beq = {0}, .lb = only}, {1, -.5, -.5},
               0, {}, {1});
}

// Refuses each allocation of a solve with phase one in turn.
TEST_F(PhaseOne, AnErrorAnywhereLeavesCountsAndOptionsAndTheSolverUsable) {
    Bench bench({.H = {{1, 0}, {0, 1}}, .c = {0, 0}, .A = {{-1, -1}}, .b = {-2}, .lb = {1.5, 0}});
    const SizeCounts& sizes = threadState().sizes;
    size_t errors = 0;
    bool hasFailed = true;
    for (std::uint64_t failAt = 1; hasFailed && !HasFailure(); ++failAt) {
        SCOPED_TRACE(::testing::Message() << "request " << failAt);
        const AllocationFaults faults(failAt);
        try {
            const ASsolution solution = bench.solve();
            hasFailed = faults.hasFailed();  // a workspace can fall back to its minimum
            EXPECT_EQ(solution.getSolutoinState(), ASQP::Optimal);
            expectNear(solution.getxstar(), {{1.5}, {.5}}, 20 * Eps);
            EXPECT_TRUE(bench.solver.getPhaseOneOutcome().hasRun);
        } catch (const HostError& error) {
            EXPECT_EQ(error.identifier(), OutOfMemoryIdentifier);
            ++errors;
        }
        EXPECT_EQ((Indices{sizes.nVar, sizes.mConstr, sizes.mIneq, sizes.mLB, sizes.mUB}),
                  (Indices{2, 3, 1, 2, 0}));
        EXPECT_EQ(bench.options.getTolX(), 1e-6);
        EXPECT_EQ(bench.options.getObjectiveLimit(), -utGetRealMax());
        EXPECT_TRUE(bench.solver.getConstraint() == nullptr ||
                    bench.solver.getConstraint() == &bench.constraint);
    }
    EXPECT_GT(errors, 50U);
}

TEST_F(PhaseOne, AnnouncesItselfOnlyWhenTesting) {
    for (const char* word : {"testing", "iter"}) {
        Bench bench({.H = {{1}}, .c = {0}, .lb = {1}});
        bench.options.setDisplay(word);
        const CapturedOutput output;
        static_cast<void>(bench.solve());
        EXPECT_EQ(output.text().starts_with(" Phase-One iterations\n"), word[0] == 't');
    }
}

}  // namespace
}  // namespace activeset::test
