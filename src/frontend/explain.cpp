// Why a problem is infeasible. A Farkas vector names sides that contradict one another; of these
// each is left out in turn, and stays out if the others still do (deletion filter; Chinneck 2008).
#include <algorithm>
#include <array>
#include <utility>

#include "frontend/decide.hpp"
#include "frontend/solve.hpp"
#include "host/floating_point.hpp"

namespace activeset {

namespace {

using frontend::Answer;
using frontend::ProblemData;
using frontend::Vector;

/// The finite sides of rows and bounds, one after the other.
class FiniteSides {
public:
    explicit FiniteSides(ProblemData& data)
        : lists_{&data.rowLower, &data.rowUpper, &data.lower, &data.upper} {}

    [[nodiscard]] std::size_t count() const {
        std::size_t total = 0;
        for (const Vector* list : lists_) {
            total += list->size();
        }
        return total;
    }
    [[nodiscard]] double& operator[](std::size_t side) const {
        std::size_t list = 0;
        while (side >= lists_.at(list)->size()) {
            side -= lists_.at(list++)->size();
        }
        return (*lists_.at(list))[side];
    }

private:
    std::array<Vector*, 4> lists_;
};

class Explanation {
public:
    Explanation(const Problem& problem, Settings settings)
        : settings_(std::move(settings)),
          control_(settings_,
                   frontend::automaticLimit(frontend::variablesOf(problem), problem.A.rows())),
          data_(frontend::copyOf(problem)) {
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
        const FiniteSides sides(data_);
        for (std::size_t side = 0; side < sides.count(); ++side) {
            if (!isFinite(sides[side])) {
                continue;
            }
            const ProblemData before = data_;
            sides[side] = isUpper(side) ? Infinity : -Infinity;
            if (!contradicts()) {
                data_ = before;
            }
            result.isMinimal = result.isMinimal && !control_.mustEnd();
        }
        collect(data_.rowLower, result.rowsAtLower);
        collect(data_.rowUpper, result.rowsAtUpper);
        collect(data_.lower, result.atLower);
        collect(data_.upper, result.atUpper);
        return result;
    }

private:
    static bool isFinite(double side) { return side > -Infinity && side < Infinity; }

    [[nodiscard]] bool isUpper(std::size_t side) const {
        const std::size_t rows = data_.m;
        return side < 2 * rows ? side >= rows : side >= 2 * rows + data_.n;
    }

    static void collect(const Vector& sides, std::vector<std::size_t>& members) {
        for (std::size_t k = 0; k < sides.size(); ++k) {
            if (isFinite(sides[k])) {
                members.push_back(k);
            }
        }
    }

    // Whether the sides that are left contradict one another; if so, those that the proof does not
    // need are left out as well.
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
