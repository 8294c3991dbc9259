// Search direction and multipliers, compared with hand arithmetic.
#include <cmath>

#include "engine/scripted_solver.hpp"

namespace activeset::test {
namespace {

class Direction : public FreshState {};

TEST_F(Direction, IsTheStepToTheMinimumInTheNullSpaceOrSteepestDescent) {
    constexpr auto Set = ASQP::Initialized;
    constexpr auto NotDefinite = ASQP::HessianNotPositiveDefinite;
    const struct {
        const char* name;
        Rows H, active;  // inequalities, all of them in the working set
        std::vector<double> g, p;
        ASQP::SolutionState state;
    } cases[] = {
        {"QP, free", {{2, 0}, {0, 4}}, {}, {2, -2}, {-1, .5}, Set},
        // Z = (1, −1)/√2, ZᵀHZ = 3, Zᵀg = 1/√2.
        {"QP, one active", {{2, 0}, {0, 4}}, {{1, 1}}, {1, 0}, {-1.0 / 6, 1.0 / 6}, Set},
        {"QP, upper triangle counts", {{2, 1}, {0, 2}}, {}, {3, 3}, {-1, -1}, Set},
        {"LP, free", {}, {}, {3, -4}, {-3, 4}, Set},
        {"LP, one active", {}, {{1, 1}}, {1, 0}, {-.5, .5}, Set},
        {"indefinite", {{1, 0}, {0, -1}}, {}, {1, 2}, {-1, -2}, NotDefinite},
        {"zero", {{0, 0}, {0, 0}}, {{1, 1}}, {1, 0}, {-.5, .5}, NotDefinite},
        {"indefinite outside", {{1, 0}, {0, -1}}, {{0, 1}}, {3, 5}, {-3, 0}, Set},
        {"full working set", {{1, 0}, {0, -1}}, {{1, 1}, {1, -2}}, {3, 5}, {0, 0}, Set},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Bench bench(
            {.H = c.H, .c = {0, 0}, .A = c.active, .b = std::vector<double>(c.active.size())});
        const std::vector<double> all{1, 2};
        initialise(bench.solver, bench,
                   {.ineq = std::vector<double>(all.data(), all.data() + c.active.size())});
        bench.solver.initializeFactorization();
        OPTMatrix<double> g = columnMatrix(c.g);
        OPTMatrix<double> p = columnMatrix({9, 9});
        bench.solver.getSearchDirection(g, p);
        const bool isExact = c.active.size() == 2;
        expectNear(p, {{c.p[0]}, {c.p[1]}}, isExact ? 0.0 : 8 * Eps);
        EXPECT_EQ(bench.solver.getSolution().getSolutoinState(), c.state);
    }
}

TEST_F(Direction, FactorsAreUpdatedOnlyAfterASingleChange) {
    Bench bench({.H = {}, .c = {1, 1, 1}, .A = {{3, 1, 0}, {0, 2, 1}}, .b = {0, 0}});
    NullSpaceAS& solver = bench.solver;
    OPTMatrix<double> g = columnMatrix({1, 1, 1});
    OPTMatrix<double> p(3, 1);
    for (const bool isSecond : {false, true}) {
        initialise(solver, bench, isSecond ? Lists{.ineq = {1}} : Lists{});
        solver.initializeFactorization();
        TestAccess::newQR(solver);
        TestAccess::add(solver, 1, 1, "ineq");
        solver.getQ().fill(7);  // the first addition starts from the identity
        if (isSecond) {
            // No Householder factorisation gives these factors: R has a positive first entry.
            const double root = std::sqrt(10.0);
            solver.getQ() = matrix({{3, 0, 1}, {1, 0, -3}, {0, root, 0}}) * (1 / root);
            solver.getQRwset()(0, 0) = root;
        }
        solver.getSearchDirection(g, p);
        expectFactorises(solver);
        EXPECT_EQ(isSecond, solver.getQ()(0, 0) > 0.0);
        solver._setindexOfDepartingConstraint(0);
        solver.removeConstraint(0);
        solver.getSearchDirection(g, p);
        expectFactorises(solver);
        solver.getQ().fill(7);
        solver._setactivesetChangeIndicator(IsolverAS::NoIncrementalChange);
        solver.getSearchDirection(g, p);
        expectFactorises(solver);
    }
}

TEST_F(Direction, MultipliersBalanceTheGradientInWorkingSetOrder) {
    Bench bench({.H = {}, .c = {1, 1, 1}, .A = {{1, 0, 0}, {1, 1, 0}, {0, 0, 0}}, .b = {0, 0, 0}});
    NullSpaceAS& solver = bench.solver;
    OPTMatrix<double> g = columnMatrix({-3, -2, 5});
    const auto lambdaOf = [&](const std::vector<double>& rows) {
        initialise(solver, bench, {.ineq = rows});
        solver.initializeFactorization();
        TestAccess::newQR(solver);
        OPTMatrix<double> lambda = columnMatrix({9, 9, 9, 9});
        solver.computeLambda(g, lambda);
        return lambda;
    };
    expectNear(lambdaOf({1, 2}), {{1}, {2}, {0}, {0}}, 8 * Eps);
    expectNear(lambdaOf({2, 1}), {{2}, {1}, {0}, {0}}, 8 * Eps);
    EXPECT_EQ(values(lambdaOf({})), std::vector<double>(4));
    expectAssertion("Error calling DTRTRS from NullSpaceAS::_computeLambda", [&] {
        static_cast<void>(lambdaOf({1, 3}));
    });
}

}  // namespace
}  // namespace activeset::test
