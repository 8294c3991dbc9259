// The factors follow additions and removals by plane rotations.
#include <algorithm>
#include <cmath>
#include <random>
#include <span>

#include "engine/scripted_solver.hpp"

namespace activeset::test {
namespace {

class QRUpdate : public FreshState {
protected:
    /// A solver with n variables, room for n constraints and the given columns in the working set.
    static void prepare(Bench& bench, const Columns& columns) {
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

// Column v is 10·e_v plus less than 1 in each entry, so that every set of different v is well
// conditioned and R can be compared with that of a fresh factorisation (up to the rows' signs).
TEST_F(QRUpdate, LongSequencesKeepTheProductAndTheTriangle) {
    constexpr unsigned Seed = 4711;
    std::mt19937 random(Seed);
    std::uniform_real_distribution<double> entry(-1, 1);
    for (size_t n = 1; n <= 7; ++n) {
        Bench bench = benchOf(n);
        NullSpaceAS& solver = bench.solver;
        prepare(bench, {});
        Indices inside;  // the v of each working-set position
        for (int step = 0; step < 200 && !HasFailure(); ++step) {
            SCOPED_TRACE(::testing::Message()
                         << "seed " << Seed << ", n " << n << ", step " << step);
            const size_t m = inside.size();
            if (m == 0 || (m < n && random() % 2 == 0)) {
                size_t v = random() % n;
                while (std::count(inside.begin(), inside.end(), v) != 0) {
                    v = (v + 1) % n;
                }
                std::vector<double> a(n);
                std::generate(a.begin(), a.end(), [&] { return entry(random); });
                a[v] += 10;
                insert(solver, a);
                inside.push_back(v);
            } else {
                const size_t j = random() % m;
                remove(solver, j);
                inside[j] = inside.back();
                inside.pop_back();
            }
            for (size_t k = inside.size(); k < n; ++k) {  // stale: must never be read
                solver.getQRwset().setColumn(k, std::vector<double>(n, NaN));
            }
            expectFactorises(solver);
            NullSpaceAS fresh = solver;
            TestAccess::newQR(fresh);
            for (size_t j = 0; j < inside.size(); ++j) {
                for (size_t i = 0; i <= j; ++i) {
                    EXPECT_NEAR(std::abs(solver.getQRwset()(i, j)),
                                std::abs(fresh.getQRwset()(i, j)), 1e4 * Eps);
                }
            }
        }
    }
}

TEST_F(QRUpdate, RemovingTheLastOrFillingTheSetTurnsNothing) {
    Bench bench = benchOf(3);
    NullSpaceAS& solver = bench.solver;
    prepare(bench, {{1, 2, 3}, {0, 4, 5}});
    const std::vector<double> R = values(solver.getQRwset());
    const std::vector<double> Q = values(solver.getQ());
    insert(solver, {7, 8, 9});
    EXPECT_EQ(values(solver.getQ()), Q);
    expectFactorises(solver);
    remove(solver, 2);
    EXPECT_EQ(values(solver.getQ()), Q);
    EXPECT_TRUE(std::equal(R.begin(), R.begin() + 6, solver.getQRwset().getData()));
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
        EXPECT_NEAR(std::abs(solver.getQ()(0, 0)), .6, 4 * Eps);
        EXPECT_NEAR(std::abs(solver.getQ()(1, 0)), .8, 4 * Eps);
        expectFactorises(solver);
        if (isInserted) {
            prepare(bench, {{Tiny, 0}, {3 * Tiny, 4 * Tiny}});
            remove(solver, 0);
        }
    }
    OPTMatrix<double> G(2, 2);
    EXPECT_NEAR(std::abs(TestAccess::planerot(3 * Tiny, -4 * Tiny, G)), 5 * Tiny, 20 * Eps * Tiny);
    EXPECT_NEAR(G(1, 0) * 3 - G(1, 1) * 4, 0, 8 * Eps);  // the second entry is cleared
    EXPECT_EQ(G(0, 0), G(1, 1));
    EXPECT_EQ(G(0, 1), -G(1, 0));
}

}  // namespace
}  // namespace activeset::test
