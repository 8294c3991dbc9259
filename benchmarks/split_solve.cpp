#include "benchmarks/split_solve.hpp"

#include "activeset/as_option.hpp"
#include "activeset/constraint.hpp"
#include "activeset/null_space.hpp"
#include "activeset/objective.hpp"
#include "benchmarks/stopwatch.hpp"
#include "tests/support/test_access.hpp"

namespace activeset::bench {

namespace {

/// Records the time when each phase asks for its first direction.
class TimedSolver : public NullSpaceAS {
public:
    void getSearchDirection(OPTMatrix<double>& g, OPTMatrix<double>& p) override {
        double& first = getObjective()->objectiveKind() == ObjectiveKind::Linear ? firstOfPhaseOne
                                                                                 : firstOfMain;
        if (first == 0.0) {
            first = processorTime();
        }
        NullSpaceAS::getSearchDirection(g, p);
    }

    double firstOfPhaseOne = 0.0;
    double firstOfMain = 0.0;
};

vxArray* array(const std::vector<double>& values, size_t rows, size_t cols) {
    return vxCreateDoubleMatrixFrom(values.data(), rows, cols);
}

vxArray* column(const std::vector<double>& values) {
    return array(values, values.size(), 1);
}

}  // namespace

SplitTimes splitSolve(const Problem& problem, bool isPlain) {
    const CallScope scope;
    QPobjective objective(array(problem.H, problem.n, problem.n), column(problem.c));
    LinearConstraint constraint(array(problem.A, problem.mIneq, problem.n), column(problem.b),
                                array(problem.Aeq, problem.mEq, problem.n), column(problem.beq),
                                column(problem.lb), column(problem.ub));
    ASoption options;
    options.setDisplay("off");
    options.setMaxIter(1000000);
    TimedSolver solver;
    TestAccess::allowUpdates(solver, !isPlain);
    const vxArray* const x0 = column(problem.x0);
    const double start = processorTime();
    const ASsolution solution =
        solver(objective, constraint, x0, options, nullptr, nullptr, nullptr);
    const double end = processorTime();
    releaseMatrixPool();
    SplitTimes times;
    times.whole = end - start;
    times.mainLoop = end - solver.firstOfMain;
    times.phaseOnePasses = solver.getPhaseOneOutcome().iterations;
    times.phaseOne = times.phaseOnePasses > 0 ? solver.firstOfMain - solver.firstOfPhaseOne : 0.0;
    times.mainPasses = solver._getCurrentIter();
    times.value = solution.fstarRef()(0, 0);
    return times;
}

}  // namespace activeset::bench
