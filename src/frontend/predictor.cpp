// The primal-dual active-set iteration, what happens where it goes round in circles, and the
// correction of the result.
#include "frontend/predictor.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <utility>

#include "frontend/dual_active_set.hpp"
#include "frontend/schur_system.hpp"
#include "frontend/sides.hpp"
#include "frontend/sums.hpp"

namespace activeset::frontend {

namespace {

class Guess {
public:
    Guess(Subproblem& problem, const WorkingSet& first)
        : data_(problem.data()),
          factor_(problem.factor()),
          system_(problem.system()),
          sides_(data_, first),
          first_(sides_) {}

    /// One round; the number of constraints that come, go or change sides.
    std::size_t improve() {
        system_.minimise(sides_, x_, multipliers_);
        return revise();
    }

    /// The dual method from there. Its set is taken over where it ends with an optimum; the
    /// multipliers of a contradiction are in the point then.
    DualOutcome::End solveDual(Control& control,
                               const std::function<bool()>& isFeasible,
                               Prediction& prediction) {
        const bool isWarm = first_.members() != Sides(data_).members();
        DualOutcome outcome = frontend::solveDual(
            data_, factor_, isWarm || size() > data_.n ? first_ : sides_, control, isFeasible);
        sides_ = std::move(outcome.sides);
        prediction.steps += outcome.steps;
        if (outcome.end == DualOutcome::Optimal) {
            system_.minimise(sides_, x_, multipliers_);
        } else {
            prediction.point = std::move(outcome.point);
        }
        return outcome.end;
    }

    /// Those that depend on others have no multiplier, and may contradict them.
    [[nodiscard]] bool holdsMembers() const {
        constexpr double Contradiction = 1e-9;
        const Vector values = sides_.values(x_);
        const std::vector<std::size_t>& members = system_.members();
        return std::none_of(members.begin(), members.end(), [&](std::size_t member) {
            const double target = sides_.target(member);
            return std::abs(values[member] - target) >
                   Contradiction * std::max(1.0, std::abs(target));
        });
    }

    [[nodiscard]] const std::vector<Side>& sides() const { return sides_.all(); }
    [[nodiscard]] std::size_t size() const { return sides_.size(); }

    /// The equations again, for what is left of their residuals in extended precision.
    void correct() {
        const Point at = point();
        const std::vector<Sum> gradient = gradientSums(data_, at.x, at.y);
        const std::vector<Sum> rows = rowValues(data_, at.x);
        const Vector wanted = sides_.targets();
        Vector step(data_.n);
        for (std::size_t j = 0; j < data_.n; ++j) {
            step[j] = -static_cast<double>(gradient[j].value + at.z[j]);
        }
        Vector change(wanted.size());
        for (std::size_t k = 0; k < change.size(); ++k) {
            const std::size_t member = system_.members()[k];
            change[k] = sides_.isRow(member) ? static_cast<double>(wanted[k] - rows[member].value)
                                             : wanted[k] - at.x[member - data_.m];
        }
        system_.solve(step, change);
        axpy(1.0, step.data(), x_.data(), x_.size());
        axpy(1.0, change.data(), multipliers_.data(), multipliers_.size());
        for (std::size_t k = 0; k < wanted.size(); ++k) {
            if (!sides_.isRow(system_.members()[k])) {
                x_[system_.members()[k] - data_.m] = wanted[k];
            }
        }
    }

    [[nodiscard]] Point point() const {
        Point result{x_, Vector(data_.m, 0.0), Vector(data_.n, 0.0)};
        for (std::size_t k = 0; k < multipliers_.size(); ++k) {
            const std::size_t member = system_.members()[k];
            (sides_.isRow(member) ? result.y[member] : result.z[member - data_.m]) =
                multipliers_[k];
        }
        return result;
    }

    [[nodiscard]] WorkingSet workingSet() const { return sides_.workingSet(); }

private:
    std::size_t revise() {
        std::size_t changes = 0;
        const auto put = [&](std::size_t k, Side side) {
            changes += sides_[k] != side ? 1U : 0U;
            sides_.hold(k, side);
        };
        const Vector values = sides_.values(x_);
        std::size_t next = 0;
        for (std::size_t k = 0; k < sides_.count(); ++k) {
            if (sides_[k] == Side::None) {
                put(k, sides_.beyond(k, values[k]));
                continue;
            }
            const double multiplier = multipliers_[next++];
            if (sides_.sign(k) != 0.0 && !(sides_.sign(k) * multiplier > 0.0)) {
                put(k, Side::None);
            }
        }
        return changes;
    }

    const Data& data_;
    const Dense& factor_;
    SchurSystem& system_;
    Sides sides_;
    Sides first_;
    Vector x_;
    Vector multipliers_;  // of the members
};

}  // namespace

Prediction predict(Subproblem& problem,
                   const WorkingSet& first,
                   Control& control,
                   const std::function<bool()>& isFeasible) {
    constexpr std::size_t Patience = 5;  // rounds in which the changes get no fewer
    Prediction prediction;
    const std::size_t n = problem.data().n;
    Guess guess(problem, first);
    std::set<std::vector<Side>> seen;
    std::size_t fewest = std::numeric_limits<std::size_t>::max();
    std::size_t roundOfFewest = 0;
    bool isSettled = false;
    bool isStuck = guess.size() > n;  // the dual method picks out n of them
    while (!isSettled && !isStuck && !control.mustEnd()) {
        ++prediction.rounds;
        const std::size_t changes = guess.improve();
        if (changes < fewest) {
            fewest = changes;
            roundOfFewest = prediction.rounds;
        }
        isSettled = changes == 0 && guess.holdsMembers();
        // Far more members than variables: such a guess only costs memory.
        isStuck = !isSettled && (changes == 0 || prediction.rounds - roundOfFewest >= Patience ||
                                 guess.size() > n || !seen.insert(guess.sides()).second);
        control.poll();
    }
    if (!isSettled && !control.mustEnd()) {
        const DualOutcome::End end = guess.solveDual(control, isFeasible, prediction);
        isSettled = end == DualOutcome::Optimal;
        prediction.isInfeasible = end == DualOutcome::Infeasible;
    }
    prediction.isSettled = isSettled;
    if (isSettled) {
        guess.correct();
        prediction.point = guess.point();
        prediction.set = guess.workingSet();
    }
    return prediction;
}

}  // namespace activeset::frontend
