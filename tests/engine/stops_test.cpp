// What ends a pass: interrupt, iteration limit, repair of feasibility, objective limit.
#include <cmath>

#include "engine/scripted_solver.hpp"

namespace activeset::test {
namespace {

class Stops : public FreshState {};

// min x subject to x ≤ 1.
const Problem OneVariable{.H = {}, .c = {1}, .ub = {1}};

void place(IsolverAS& solver, const std::vector<double>& x) {
    solver.getSolution().setxstar(columnMatrix(x));
    solver.getSolution().setSolutionState(ASQP::Undecided);
}

TEST_F(Stops, LaterOnesWinOverEarlierOnesAndLimitsAreExact) {
    const double big = utGetRealMax();
    const struct {
        const char* name;
        std::uint8_t interrupts;
        int iteration;  // before the pass; the limit is 10
        double objectiveLimit;
        bool check;
        ASQP::SolutionState state;
        bool evaluated;
    } cases[] = {{"nothing", 0, 8, -big, true, ASQP::Undecided, false},
                 {"interrupt", 1, 0, -big, true, ASQP::Interrupted, false},
                 {"just at MaxIter", 0, 9, -big, true, ASQP::Undecided, false},
                 {"above MaxIter", 0, 10, -big, true, ASQP::MaxIterReached, false},
                 {"MaxIter over interrupt", 1, 10, -big, true, ASQP::MaxIterReached, false},
                 {"limit reached", 0, 0, .5, true, ASQP::ObjectiveLimitReached, true},
                 {"limit missed", 0, 0, .4999, true, ASQP::Undecided, true},
                 {"limit not checked", 0, 10, .5, false, ASQP::MaxIterReached, false},
                 {"limit over the others", 1, 10, .5, true, ASQP::ObjectiveLimitReached, true}};
    Bench bench(OneVariable);
    bench.options.setMaxIter(10);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ScriptedSolver solver;
        initialise(solver, bench);
        place(solver, {.5});
        solver._setCurrentIter(c.iteration);
        bench.options.setObjectiveLimit(c.objectiveLimit);
        utInterruptState::flags_pending = c.interrupts;
        TestAccess::update(solver, c.check);
        utInterruptState::flags_pending = 0;
        EXPECT_EQ(solver.getSolution().getSolutoinState(), c.state);
        EXPECT_EQ(solver._getCurrentIter(), c.iteration + 1);
        EXPECT_EQ(solver.getSolution().isFvalUpdated(), c.evaluated);
    }
}

TEST_F(Stops, EveryFiftiethPassRepairsAPointThatViolatesTheConstraints) {
    const double tolerance = 0x1p-10;
    const struct {
        const char* name;
        int iteration;
        double x, repaired;
        bool succeeds;
        size_t repairs;
        double expected;
    } cases[] = {{"49th", 48, 2, 0, true, 0, 2},
                 {"50th", 49, 2, 0, true, 1, 0},
                 {"within the tolerance", 49, 1 + tolerance, 0, true, 0, 1 + tolerance},
                 {"worse", 49, 2, 3, true, 1, 2},
                 {"failed", 49, 2, 2, false, 1, 2}};
    Bench bench(OneVariable);
    bench.options.setTolCon(tolerance);
    bench.options.setMaxIter(1000);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ScriptedSolver solver;
        initialise(solver, bench);
        place(solver, {c.x});
        solver.getSolution().setfstar(columnMatrix({c.x}));
        solver.repaired = {c.repaired};
        solver.canRepair = c.succeeds;
        solver._setactivesetChangeIndicator(IsolverAS::ConstraintAdded);
        solver._setCurrentIter(c.iteration);
        TestAccess::update(solver, true);
        EXPECT_EQ(solver.repairs, c.repairs);
        EXPECT_EQ(values(solver.getSolution().getxstar()), (std::vector<double>{c.expected}));
        EXPECT_EQ(solver.getSolution().isFvalUpdated(), c.expected == c.x);
        EXPECT_EQ(solver.getSolution().getSolutoinState(),
                  c.succeeds ? ASQP::Undecided : ASQP::Infeasible);
        EXPECT_EQ(solver.getactivesetChangeIndicator(),
                  c.repairs == 0 ? IsolverAS::ConstraintAdded : IsolverAS::NoIncrementalChange);
    }
}

}  // namespace
}  // namespace activeset::test
