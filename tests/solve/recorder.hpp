// A solve through the class interface that records every row of the iteration table.
#ifndef ACTIVESET_TESTS_SOLVE_RECORDER_HPP
#define ACTIVESET_TESTS_SOLVE_RECORDER_HPP

#include <algorithm>
#include <cmath>
#include <functional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "solve/call.hpp"
#include "support/test_access.hpp"

namespace activeset::test {

/// The content of one row of the iteration table, and the state at that moment.
struct Row {
    int phase;
    int counter;
    size_t numberActive;
    std::string message;
    int state;

    friend bool operator==(const Row&, const Row&) = default;
};

inline void PrintTo(const Row& row, std::ostream* stream) {
    *stream << '[' << row.phase << ", " << row.counter << ", " << row.numberActive << ", \""
            << row.message << "\", " << row.state << ']';
}

/// Options that notice when a row is due, because the solver then asks for the display setting. It
/// also asks before it iterates, but not in interrupt mode.
class RowOptions : public ASoption {
public:
    explicit RowOptions(std::function<void()> atRow) : atRow_(std::move(atRow)) {}
    [[nodiscard]] std::string getDisplay() override {
        if (utInterruptMode::depth() > 0) {
            atRow_();
        }
        return "off";
    }

private:
    std::function<void()> atRow_;
};

/// One solve whose arrays belong to the open scope.
struct RecordedSolve {
    /// @param carriesResiduals residuals are updated from step to step even for the smallest
    /// problem
    explicit RecordedSolve(const Problem& problem,
                           const Limits& limits = {},
                           bool carriesResiduals = false)
        : bench(problem) {
        if (carriesResiduals) {
            TestAccess::carryResidualsFrom(bench.solver, 0);
        }
        options.setMaxIter(limits.maxIter);
        options.setTolCon(limits.tolCon);
        options.setTolX(limits.tolX);
        const ASsolution solution =
            bench.solver(*bench.objective, bench.constraint, column(problem.start()), options,
                         column(problem.Wineq), column(problem.Wlower), column(problem.Wupper));
        const ActiveSet& active = bench.solver.getActiveSet();
        result = {values(solution.xstarRef()),
                  values(solution.fstarRef()).at(0),
                  values(solution.lambdaRef()),
                  {values(active.getWeqVxArray()), values(active.getWineqVxArray()),
                   values(active.getWlowerVxArray()), values(active.getWupperVxArray())},
                  solution.getSolutoinState()};
    }

    Bench bench;
    std::vector<Row> rows;
    double reach = 0.0;  // the largest entry of any point on the way, including γ of phase one
    RowOptions options{[this] {
        NullSpaceAS& solver = bench.solver;
        const bool isPhaseOne = solver.getConstraint()->getProblemType() == "PhaseI";
        rows.push_back({isPhaseOne ? 1 : 2, solver._getCurrentIter(), ActiveSet::getmaConstr(),
                        TestAccess::message(solver), solver.getSolution().getSolutoinState()});
        const OPTMatrix<double>& x = solver.getSolution().xstarRef();
        for (size_t i = 0; i < x.getRows(); ++i) {
            reach = std::max(reach, std::abs(x(i, 0)));
        }
    }};
    Result result;
};

}  // namespace activeset::test

#endif
