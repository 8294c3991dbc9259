// Stand-ins for the engine's tests: directions and multipliers from a script, an objective of any
// type, and fixed-variable rows.
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

using Columns = std::vector<std::vector<double>>;
using Indices = std::vector<size_t>;

/// Plays back one direction (or multiplier vector) a call; running out of them throws.
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

    Columns directions;
    Columns script;  // of multipliers
    std::vector<double> repaired;
    bool canRepair = true;
    int modeSeen = -1;
    size_t poolSeen = 0;
    size_t directionCalls = 0;
    size_t multiplierCalls = 0;
    size_t repairs = 0;
};

/// Zero everywhere, of the type that it is given.
class TypedObjective : public IoptObjective {
public:
    explicit TypedObjective(const std::string& type) : IoptObjective(type) {}
    OPTMatrix<double> fval(const OPTMatrix<double>& /*x*/) override { return {1, 1}; }
    OPTMatrix<double> grad(const OPTMatrix<double>& x) override { return {x.getRows(), 1}; }
};

/// A constraint set with fixed-variable rows as well, which LinearConstraint itself never makes.
class FixedRows : public LinearConstraint {
public:
    FixedRows(const LinearConstraint& other, const Rows& rows, const std::vector<double>& rhs)
        : LinearConstraint(other),
          fixed_(matrix(rows, OPTsizes::getnVar())),
          rhs_(columnMatrix(rhs)) {
        OPTsizes::setmFixed(rows.size());
        OPTsizes::setmConstr(OPTsizes::getmConstr() + rows.size());
    }
    OPTMatrix<double> Afixedx(const OPTMatrix<double>& x) override { return fixed_ * x; }
    OPTMatrix<double> Afixedconstr(const OPTMatrix<double>& x) override {
        return Afixedx(x) - rhs_;
    }
    OPTMatrix<double> AfixedRow(size_t i) override { return fixed_.row(i); }
    OPTMatrix<double>& getAfixed() override { return fixed_; }
    OPTMatrix<double>& getbfixed() override { return rhs_; }

private:
    OPTMatrix<double> fixed_;
    OPTMatrix<double> rhs_;
};

/// Initial lists, 1-based.
struct Lists {
    std::vector<double> fixed{};
    std::vector<double> eq{};
    std::vector<double> ineq{};
    std::vector<double> lower{};
    std::vector<double> upper{};
};

inline void initialise(IsolverAS& solver,
                       IoptObjective& objective,
                       IoptConstraint& constraint,
                       IoptOption& options,
                       const std::vector<double>& start,
                       const Lists& lists = {}) {
    OPTMatrix<double> x = columnMatrix(start);
    solver.init(&objective, &constraint, &options, x, column(lists.fixed), column(lists.eq),
                column(lists.ineq), column(lists.lower), column(lists.upper));
}

inline void initialise(IsolverAS& solver, Bench& bench, const Lists& lists = {}) {
    initialise(solver, *bench.objective, bench.constraint, bench.options,
               std::vector<double>(OPTsizes::getnVar()), lists);
}

inline Indices firstOf(const size_t* list, size_t count) {
    return {list, list + count};
}

/// The constraint numbers of the working set.
inline Indices workingSet(IsolverAS& solver) {
    return firstOf(solver.getActiveSet().getWset(), ActiveSet::getmaConstr());
}

/// The first columns of Aw, one row of the result each.
inline Rows columnsOfAw(IsolverAS& solver, size_t count) {
    Rows result;
    for (size_t k = 0; k < count; ++k) {
        result.push_back(values(solver.getAw().column(k)));
    }
    return result;
}

}  // namespace activeset::test

#endif
