// A solver for the engine's tests whose directions and multipliers come from a script.
#ifndef ACTIVESET_TESTS_ENGINE_SCRIPTED_SOLVER_HPP
#define ACTIVESET_TESTS_ENGINE_SCRIPTED_SOLVER_HPP

#include <string>
#include <vector>

#include "activeset/sizes.hpp"
#include "support/build.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"
#include "support/test_access.hpp"

namespace activeset::test {

using Indices = std::vector<size_t>;

/// Returns one direction (or multiplier vector) per call. Throws when none are left.
class ScriptedSolver : public IsolverAS {
public:
    ScriptedSolver() : IsolverAS(nullptr, nullptr, nullptr) {}
    ASsolution operator()(IoptObjective& /*objective*/,
                          IoptConstraint& /*constraint*/,
                          const vxArray* /*x0*/,
                          IoptOption& /*options*/,
                          const vxArray* /*Wineq*/,
                          const vxArray* /*Wlower*/,
                          const vxArray* /*Wupper*/) override {
        return getSolution();
    }
    void getSearchDirection(OPTMatrix<double>& /*g*/, OPTMatrix<double>& p) override {
        modeSeen = utInterruptMode::current();
        poolSeen = matrixPoolSize();
        p = columnMatrix(directions.at(directionCalls++));
    }
    void computeLambda(OPTMatrix<double>& /*g*/, OPTMatrix<double>& multipliers) override {
        multipliers.fill(0.0);
        const std::vector<double>& next = script.at(multiplierCalls++);
        for (size_t k = 0; k < next.size(); ++k) {
            multipliers(k, 0) = next[k];
        }
    }
    bool feasibleWorkingSetX0(OPTMatrix<double>& point, IoptConstraint& /*constraints*/) override {
        ++repairs;
        point = columnMatrix(repaired);
        return canRepair;
    }

    Rows directions;  // one per row
    Rows script;      // multiplier vectors, one per row
    std::vector<double> repaired;
    bool canRepair = true;
    int modeSeen = -1;
    size_t poolSeen = 0;
    size_t directionCalls = 0;
    size_t multiplierCalls = 0;
    size_t repairs = 0;
};

/// Initial lists, with 1-based indices.
struct Lists {
    std::vector<double> eq{};
    std::vector<double> ineq{};
    std::vector<double> lower{};
    std::vector<double> upper{};
};

inline void initialise(IsolverAS& solver,
                       Bench& bench,
                       const Lists& lists = {},
                       const std::vector<double>& start = {}) {
    OPTMatrix<double> x =
        columnMatrix(start.empty() ? std::vector<double>(OPTsizes::getnVar()) : start);
    solver.init(bench.objective.get(), &bench.constraint, &bench.options, x, nullptr,
                column(lists.eq), column(lists.ineq), column(lists.lower), column(lists.upper));
}

inline Indices firstOf(const size_t* list, size_t count) {
    return {list, list + count};
}

/// The numbers of the constraints in the working set.
inline Indices workingSet(IsolverAS& solver) {
    return firstOf(solver.getActiveSet().getWset(), ActiveSet::getmaConstr());
}

/// The first `count` columns of Aw, each as a row of the result.
inline Rows columnsOfAw(IsolverAS& solver, size_t count) {
    Rows result;
    for (size_t k = 0; k < count; ++k) {
        result.push_back(values(solver.getAw().column(k)));
    }
    return result;
}

}  // namespace activeset::test

#endif
