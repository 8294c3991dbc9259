// Changes of a working set: factors, direction and multipliers are checked after each.
#include <algorithm>
#include <array>
#include <cmath>
#include <string>

#include "activeset/sizes.hpp"
#include "benches.hpp"
#include "judge.hpp"
#include "solve/call.hpp"
#include "solver_bench.hpp"
#include "support/test_access.hpp"

namespace activeset::fuzz {

namespace {

class WorkingSetBench : SolverBench {
public:
    explicit WorkingSetBench(Bytes& bytes) : SolverBench(bytes) {}

    void followChanges() {
        init();
        while (!bytes_.isEmpty()) {
            const std::size_t change = bytes_.below(16);
            if (change == 0) {
                init();
            } else if (change == 1) {
                solver_._setactivesetChangeIndicator(IsolverAS::NoIncrementalChange);
                direct();
            } else if (change < 4) {
                multiply();
            } else if (change < 9) {
                remove();
            } else {
                add();
            }
            judgeFactors();
            releaseMatrixPool();
        }
    }

private:
    // The multipliers minimise the norm of g + Aw·lambda: the residual is orthogonal to Aw.
    void multiply() {
        const std::size_t m = ActiveSet::getmaConstr();
        const Matrix& Aw = solver_.getAw();
        Matrix g = gradient();
        Matrix lambda(problem_.n() + 1, 1);
        double pivot = test::Inf;
        for (std::size_t k = 0; k < m; ++k) {
            pivot = std::min(pivot, std::abs(solver_.getQRwset()(k, k)));
        }
        try {
            solver_.computeLambda(g, lambda);
        } catch (const HostError& error) {
            require(pivot == 0.0, std::string("no multipliers: ") + error.what());
            return;
        }
        require(pivot != 0.0, "multipliers from a singular matrix");
        const double scale = largest(Aw, m);
        const double size = largest(g, 1) + largest(lambda, 1) * scale;
        const Matrix sum = residual(g, Aw, lambda, m);
        for (std::size_t j = 0; pivot >= 1e-3 && j < m; ++j) {
            require(std::abs(dot(Aw, j, sum, 0)) <= 1e-9 * size * scale, "other multipliers");
        }
    }

    // While there is room, any constraint that is not in the working set may join it.
    void add() {
        LinearConstraint& constraint = bench().constraint;
        ActiveSet& active = solver_.getActiveSet();
        const std::size_t firstLower = OPTsizes::getmEq() + OPTsizes::getmIneq();
        const std::size_t kind = bytes_.below(3);
        const std::array<std::size_t, 3> counts{OPTsizes::getmIneq(), OPTsizes::getmLB(),
                                                OPTsizes::getmUB()};
        if (counts.at(kind) == 0) {
            return;
        }
        const std::size_t index = bytes_.below(counts.at(kind));
        const std::size_t number = kind == 0 ? OPTsizes::getmEq() + index
                                   : kind == 1
                                       ? firstLower + constraint.getindexLB()[index]
                                       : firstLower + problem_.n() + constraint.getindexUB()[index];
        const std::size_t size = ActiveSet::getmaConstr();
        std::size_t place = 0;
        if (active.findConstraint(active.getWset(), size, number, place) == 1) {
            return;
        }
        constexpr std::array<const char*, 3> Kinds{"ineq", "lower", "upper"};
        const auto before = test::counts();
        try {
            TestAccess::add(solver_, number, index, Kinds.at(kind));
        } catch (const HostError&) {
            require(size == problem_.n() && test::counts() == before, "no room, but there is");
            return;
        }
        require(size < problem_.n(), "more constraints than variables");
        direct();
    }

    void remove() {
        const std::size_t count = ActiveSet::getmaConstr();
        const std::size_t position = bytes_.below(count + 1);
        const bool canLeave = position >= problem_.Aeq.size() && position < count;
        const auto before = test::counts();
        try {
            solver_.removeConstraint(position);
        } catch (const HostError&) {
            require(!canLeave && test::counts() == before, "it can leave");
            return;
        }
        require(canLeave, "an equality left the working set, or what is not there");
        solver_._setindexOfDepartingConstraint(position);
        direct();
    }
};

}  // namespace

void followWorkingSet(Bytes& bytes) {
    WorkingSetBench(bytes).followChanges();
}

}  // namespace activeset::fuzz
