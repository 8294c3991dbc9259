// The primal-dual active-set iteration, what happens where it goes round in circles, and the
// correction of the result.
#include "frontend/predictor.hpp"

#include <cmath>
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
    Guess(const Data& data, const Dense& factor, const WorkingSet& first)
        : data_(data), factor_(factor), system_(data, factor), sides_(data) {
        const auto hold = [this](const std::vector<std::size_t>& indices, std::size_t offset,
                                 Side side) {
            for (const std::size_t index : indices) {
                const std::size_t k = offset + index;
                const double target = side == Side::Lower ? sides_.lower(k) : sides_.upper(k);
                if (sides_[k] == Side::None && std::isfinite(target)) {
                    sides_.hold(k, side);
                }
            }
        };
        hold(first.rowsAtLower, 0, Side::Lower);
        hold(first.rowsAtUpper, 0, Side::Upper);
        hold(first.atLower, data.m, Side::Lower);
        hold(first.atUpper, data.m, Side::Upper);
    }

    /// One round; false when the guess stays as it is.
    bool improve() {
        system_.minimise(sides_, x_, multipliers_);
        return revise();
    }

    /// The dual method from there. Its set is taken over where it ends with an optimum; the
    /// multipliers of a contradiction are in the point then.
    DualOutcome::End solveDual(Control& control, Prediction& prediction) {
        if (size() > data_.n) {
            sides_ = Sides(data_);
        }
        DualOutcome outcome = frontend::solveDual(data_, factor_, std::move(sides_), control);
        sides_ = std::move(outcome.sides);
        prediction.steps += outcome.steps;
        if (outcome.end == DualOutcome::Optimal) {
            system_.minimise(sides_, x_, multipliers_);
        } else {
            prediction.point = std::move(outcome.point);
        }
        return outcome.end;
    }

    [[nodiscard]] const std::vector<Side>& sides() const { return sides_.all(); }
    [[nodiscard]] std::size_t size() const { return sides_.members().size(); }

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

    [[nodiscard]] WorkingSet workingSet() const {
        WorkingSet set;
        for (const std::size_t member : system_.members()) {
            const bool isRow = sides_.isRow(member);
            const std::size_t index = isRow ? member : member - data_.m;
            switch (sides_[member]) {
                case Side::Lower:
                    (isRow ? set.rowsAtLower : set.atLower).push_back(index);
                    break;
                case Side::Upper:
                    (isRow ? set.rowsAtUpper : set.atUpper).push_back(index);
                    break;
                default:
                    (isRow ? set.equalities : set.fixed).push_back(index);
            }
        }
        return set;
    }

private:
    bool revise() {
        bool hasChanged = false;
        const auto put = [&](std::size_t k, Side side) {
            hasChanged = hasChanged || sides_[k] != side;
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
        return hasChanged;
    }

    const Data& data_;
    const Dense& factor_;
    SchurSystem system_;
    Sides sides_;
    Vector x_;
    Vector multipliers_;  // of the members
};

}  // namespace

Prediction predict(const Data& data,
                   const Dense& factor,
                   const WorkingSet& first,
                   Control& control) {
    constexpr std::size_t MostRounds = 30;
    Prediction prediction;
    Guess guess(data, factor, first);
    std::set<std::vector<Side>> seen;
    bool isSettled = false;
    bool isRepeated = false;
    while (!isSettled && !isRepeated && prediction.rounds < MostRounds && !control.mustEnd()) {
        ++prediction.rounds;
        isSettled = !guess.improve();
        // Far more members than variables: such a guess only costs memory.
        isRepeated = !isSettled && (guess.size() > data.n || !seen.insert(guess.sides()).second);
        control.poll();
    }
    if (!isSettled && !control.mustEnd()) {
        const DualOutcome::End end = guess.solveDual(control, prediction);
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
