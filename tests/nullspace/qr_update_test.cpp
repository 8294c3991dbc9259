// Plane rotations update the factors after additions and removals.
#include <algorithm>
#include <cmath>
#include <random>

#include "engine/scripted_solver.hpp"

namespace activeset::test {
namespace {

class QRUpdate : public FreshState {
protected:
    /// A solver with n variables, room for n constraints and the given columns in its working set.
    static void prepare(Bench& bench, const Rows& columns) {
        initialise(bench.solver, bench);
        bench.solver.initializeFactorization();
        for (size_t k = 0; k < columns.size(); ++k) {
            bench.solver.getAw().setColumn(k, columns[k]);
        }
        ActiveSet::setmaConstr(columns.size());
        TestAccess::newQR(bench.solver);
    }
    static Bench benchOf(size_t n) {
        return Bench({.H = {}, .c = std::vector<double>(n, 1), .lb = std::vector<double>(n, 0)});
    }
    static void insert(NullSpaceAS& solver, const std::vector<double>& a) {
        const size_t m = ActiveSet::getmaConstr();
        solver.getAw().setColumn(m, a);
        ActiveSet::setmaConstr(m + 1);
        OPTMatrix<double> column = columnMatrix(a);
        TestAccess::insertColumn(solver, column);
    }
    static void remove(NullSpaceAS& solver, size_t j) {
        const size_t last = ActiveSet::getmaConstr() - 1;
        solver.getAw().copyColumn(j, last);
        ActiveSet::setmaConstr(last);
        TestAccess::deleteColumn(solver, j);
    }
};

TEST_F(QRUpdate, LongSequencesKeepTheProductAndTheTriangle) {
    constexpr unsigned Seed = 4711;
    std::mt19937 random(Seed);
    std::uniform_real_distribution<double> entry(-1, 1);
    for (size_t n = 1; n <= 7; ++n) {
        Bench bench = benchOf(n);
        NullSpaceAS& solver = bench.solver;
        prepare(bench, {});
        for (int step = 0; step < 200 && !HasFailure(); ++step) {
            SCOPED_TRACE(::testing::Message()
                         << "seed " << Seed << ", n " << n << ", step " << step);
            const size_t m = ActiveSet::getmaConstr();
            if (m == 0 || (m < n && random() % 2 == 0)) {
                std::vector<double> a(n);
                std::generate(a.begin(), a.end(), [&] { return entry(random); });
                insert(solver, a);
            } else {
                remove(solver, random() % m);
            }
            for (size_t k = ActiveSet::getmaConstr(); k < n; ++k) {  // must never be read
                solver.getQRwset().setColumn(k, std::vector<double>(n, NaN));
            }
            expectFactorises(solver);
        }
    }
}

TEST_F(QRUpdate, APositionBehindTheWorkingSetIsRejected) {
    Bench bench = benchOf(3);
    prepare(bench, {{1, 2, 3}, {0, 4, 5}});
    TestAccess::deleteColumn(bench.solver, 2);
    expectAssertion("Constraint to be removed is not found in the active-set.",
                    [&] { TestAccess::deleteColumn(bench.solver, 3); });
}

TEST_F(QRUpdate, RotationsOfTinyEntriesDoNotLoseTheirDirection) {
    constexpr double Tiny = 1e-170;
    Bench bench = benchOf(2);
    NullSpaceAS& solver = bench.solver;
    prepare(bench, {});
    insert(solver, {3 * Tiny, 4 * Tiny});
    for (const bool isInserted : {true, false}) {
        EXPECT_NEAR(std::abs(solver.getQRwset()(0, 0)), 5 * Tiny, 20 * Eps * Tiny);
        expectFactorises(solver);
        if (isInserted) {
            prepare(bench, {{Tiny, 0}, {3 * Tiny, 4 * Tiny}});
            remove(solver, 0);
        }
    }
}

}  // namespace
}  // namespace activeset::test
