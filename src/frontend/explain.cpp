// Why a problem is infeasible. A Farkas vector names sides that contradict one another. Each of
// them is left out in turn, and stays out if the others still do (deletion filter; Chinneck 2008).
#include <algorithm>
#include <utility>

#include "frontend/decide.hpp"
#include "frontend/soft/penalties.hpp"
#include "frontend/solve.hpp"
#include "host/floating_point.hpp"

namespace activeset {

namespace {

using frontend::Answer;
using frontend::ProblemData;
using frontend::Vector;

class Explanation {
public:
    Explanation(const Problem& problem, Settings settings)
        : settings_(std::move(settings)),
          control_(settings_,
                   frontend::automaticLimit(frontend::variablesOf(problem), problem.A.rows())),
          data_(frontend::copyOf(problem)) {
        frontend::dropSoftSides(problem, data_);
        data_.quadratic = false;
        data_.H.clear();
        std::fill(data_.c.begin(), data_.c.end(), 0.0);
        settings_.onPass = nullptr;
    }

    Conflict conflict() {
        Conflict result;
        if (!contradicts()) {
            return result;
        }
        result.isFound = true;
        result.isMinimal = true;
        leaveOut(data_.rowLower, -Infinity, result);
        leaveOut(data_.rowUpper, Infinity, result);
        leaveOut(data_.lower, -Infinity, result);
        leaveOut(data_.upper, Infinity, result);
        collect(data_.rowLower, result.rowsAtLower);
        collect(data_.rowUpper, result.rowsAtUpper);
        collect(data_.lower, result.atLower);
        collect(data_.upper, result.atUpper);
        return result;
    }

private:
    static bool isFinite(double side) { return side > -Infinity && side < Infinity; }

    // Leaves out the sides of one kind that the contradiction does not need.
    void leaveOut(Vector& sides, double absent, Conflict& result) {
        for (double& side : sides) {
            if (!isFinite(side)) {
                continue;
            }
            const ProblemData before = data_;
            side = absent;
            if (!contradicts()) {
                data_ = before;
            }
            result.isMinimal = result.isMinimal && !control_.mustEnd();
        }
    }

    static void collect(const Vector& sides, std::vector<std::size_t>& members) {
        for (std::size_t k = 0; k < sides.size(); ++k) {
            if (isFinite(sides[k])) {
                members.push_back(k);
            }
        }
    }

    // Whether the sides that are left contradict one another. If so, leaves out those that the
    // proof does not need.
    bool contradicts() {
        if (control_.mustEnd()) {
            return false;
        }
        frontend::ProblemCache problem(data_);
        const Answer answer =
            frontend::decide(problem, Vector(data_.n, 0.0), {}, settings_, control_);
        control_.rethrow();
        if (answer.status != Status::Infeasible) {
            return false;
        }
        if (answer.farkas) {
            keepSupport(answer.farkas->y, data_.rowLower, data_.rowUpper);
            keepSupport(answer.farkas->z, data_.lower, data_.upper);
        }
        return true;
    }

    static void keepSupport(const Vector& multipliers, Vector& lower, Vector& upper) {
        for (std::size_t k = 0; k < multipliers.size(); ++k) {
            if (!(multipliers[k] < 0.0)) {
                lower[k] = -Infinity;
            }
            if (!(multipliers[k] > 0.0)) {
                upper[k] = Infinity;
            }
        }
    }

    Settings settings_;
    frontend::Control control_;
    ProblemData data_;
};

}  // namespace

Conflict explainInfeasibility(const Problem& problem, const Settings& settings) {
    const FloatingPointGuard environment;
    frontend::requireNoSolve();
    if (!faultsOf(problem).empty() || !frontend::faultsIn(settings).empty()) {
        return {};
    }
    return Explanation(problem, settings).conflict();
}

}  // namespace activeset
