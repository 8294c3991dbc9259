// What a pass costs besides its arithmetic. After the first passes a solve asks for no more memory,
// and the residuals that it carries along equal those computed afresh.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "activeset/as_option.hpp"
#include "activeset/sizes.hpp"
#include "benchmarks/families.hpp"
#include "benchmarks/work_counts.hpp"
#include "support/build.hpp"
#include "support/fixture.hpp"
#include "support/test_access.hpp"

namespace activeset::test {
namespace {

/// Records the number of memory requests at the beginning of every pass.
class Watched : public NullSpaceAS {
public:
    void getSearchDirection(OPTMatrix<double>& g, OPTMatrix<double>& p) override {
        look();
        NullSpaceAS::getSearchDirection(g, p);
    }
    void computeLambda(OPTMatrix<double>& g, OPTMatrix<double>& multipliers) override {
        look();
        NullSpaceAS::computeLambda(g, multipliers);
    }

    std::vector<std::uint64_t> requests[2];  // in phase one, in the main loop
    const bench::WorkCount* counter = nullptr;

private:
    void look() {
        const bool isPhaseOne = getObjective()->objectiveKind() == ObjectiveKind::Linear;
        requests[isPhaseOne ? 0 : 1].push_back(counter->work().requests);
    }
};

/// Compares the carried residuals with computed ones at every direction.
class Checked : public NullSpaceAS {
public:
    void getSearchDirection(OPTMatrix<double>& g, OPTMatrix<double>& p) override {
        const OPTMatrix<double>& at = getSolution().xstarRef();
        std::vector<double> carried(OPTsizes::getmIneq());
        if (TestAccess::carriedResiduals(*this).copyTo(std::span(at.getData(), at.size()), carried,
                                                       getOptions()->getTolCon())) {
            const OPTMatrix<double> fresh = getConstraint()->Aconstr(at);
            for (size_t i = 0; i < carried.size(); ++i) {
                error = std::max(error, std::abs(carried[i] - fresh(i, 0)));
            }
            ++count;
        }
        NullSpaceAS::getSearchDirection(g, p);
    }

    size_t count = 0;
    double error = 0.0;
};

/// Solves a random problem of n variables with a third of its constraints active.
template <class Solver>
ASsolution solveRandom(Solver& solver, size_t n, std::uint64_t seed) {
    const bench::Problem problem = bench::randomProblem(n, 0.3, seed);
    const auto block = [&](const std::vector<double>& entries, size_t rows) {
        return vxCreateDoubleMatrixFrom(entries.data(), rows, n);
    };
    QPobjective objective(block(problem.H, n), column(problem.c));
    LinearConstraint constraint(block(problem.A, problem.mIneq), column(problem.b),
                                block(problem.Aeq, problem.mEq), column(problem.beq),
                                column(problem.lb), column(problem.ub));
    ASoption options;
    options.setDisplay("off");
    options.setMaxIter(10000);
    return solver(objective, constraint, column(problem.x0), options, nullptr, nullptr, nullptr);
}

class SteadyState : public FreshState {};

TEST_F(SteadyState, PassesAskForNoMemory) {
    const CallScope scope;
    Watched solver;
    const bench::WorkCount counter;
    solver.counter = &counter;
    for (auto& ofPhase : solver.requests) {
        ofPhase.reserve(1000);
    }
    ASSERT_EQ(solveRandom(solver, 30, 4).getSolutoinState(), ASQP::Optimal);
    for (const auto& ofPhase : solver.requests) {
        constexpr size_t Settled = 3;  // passes, one of each kind
        ASSERT_GT(ofPhase.size(), Settled + 5) << "a problem with too few passes";
        ASSERT_LT(ofPhase.size(), 50U) << "every 50th pass looks at the constraints";
        EXPECT_EQ(std::vector(ofPhase.begin() + Settled, ofPhase.end()),
                  std::vector(ofPhase.size() - Settled, ofPhase[Settled]));
    }
}

TEST_F(SteadyState, CarriedResidualsAreThoseOfThePointAndChangeNothing) {
    const CallScope scope;
    for (const std::uint64_t seed : {1U, 2U, 3U}) {
        Checked carrying;
        TestAccess::carryResidualsFrom(carrying, 0);
        const ASsolution solution = solveRandom(carrying, 60, seed);
        EXPECT_GT(carrying.count, 30U);
        EXPECT_LE(carrying.error, 1e-10) << "a ten-thousandth of TolCon";
        EXPECT_GT(carrying.error, 0.0) << "they were computed, not carried";
        const auto active = values(carrying.getActiveSet().getWineqVxArray());
        const int passes = carrying._getCurrentIter();
        Checked plain;
        TestAccess::carryResidualsFrom(plain, size_t{1} << 40U);
        const ASsolution expected = solveRandom(plain, 60, seed);
        EXPECT_EQ(plain.count, 0U);
        EXPECT_EQ(solution.getSolutoinState(), expected.getSolutoinState());
        EXPECT_EQ(passes, plain._getCurrentIter());
        EXPECT_EQ(active, values(plain.getActiveSet().getWineqVxArray()));
    }
}

}  // namespace
}  // namespace activeset::test
