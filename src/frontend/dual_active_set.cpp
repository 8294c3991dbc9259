// The steps of the dual method. See Goldfarb and Idnani, A numerically stable dual method for
// solving strictly convex quadratic programs, Mathematical Programming 27 (1983); the Schur
// complement takes the place of their factors.
#include "frontend/dual_active_set.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace activeset::frontend {

namespace {

constexpr std::size_t None = std::numeric_limits<std::size_t>::max();

class DualMethod {
public:
    DualMethod(const Data& data, SchurSystem& system, Sides guess, Control& control)
        : data_(data), system_(system), sides_(std::move(guess)), control_(control) {}

    DualOutcome run() {
        // Beyond, the core is faster.
        const std::size_t mostSteps = 50 + data_.n;
        makeDualFeasible();
        DualOutcome::End end = DualOutcome::Stopped;
        while (steps_ < mostSteps && !control_.mustEnd()) {
            const std::size_t worst = mostViolated();
            if (worst == None) {
                end = holdsMembers() ? DualOutcome::Optimal : DualOutcome::Stopped;
                break;
            }
            if (!pull(worst)) {
                end = DualOutcome::Infeasible;
                break;
            }
            control_.poll();
        }
        return {end, std::move(sides_), std::move(x_), std::move(multipliers_), steps_};
    }

private:
    void minimise() { system_.minimise(sides_, x_, multipliers_); }

    // Members whose multipliers have the wrong sign, or none because they depend on others, go.
    void makeDualFeasible() {
        bool isFeasible = false;
        while (!isFeasible) {
            minimise();
            isFeasible = true;
            for (std::size_t k = 0; k < multipliers_.size(); ++k) {
                const std::size_t member = system_.members()[k];
                if (sides_.sign(member) != 0.0 && !(sides_.sign(member) * multipliers_[k] > 0.0)) {
                    sides_.hold(member, Side::None);
                    isFeasible = false;
                }
            }
        }
    }

    [[nodiscard]] std::size_t mostViolated() const {
        const Vector values = sides_.values(x_);
        std::size_t worst = None;
        double largest = 0.0;
        for (std::size_t k = 0; k < sides_.count(); ++k) {
            if (sides_[k] != Side::None || sides_.beyond(k, values[k]) == Side::None) {
                continue;
            }
            const double violation =
                std::max(values[k] - sides_.upper(k), sides_.lower(k) - values[k]);
            if (violation > largest) {
                largest = violation;
                worst = k;
            }
        }
        return worst;
    }

    // Equalities that depend on others have no multiplier, and may contradict them.
    [[nodiscard]] bool holdsMembers() const {
        constexpr double Contradiction = 1e-6;
        const Vector values = sides_.values(x_);
        const std::vector<std::size_t>& members = system_.members();
        return std::none_of(members.begin(), members.end(), [&](std::size_t member) {
            const double target = sides_.target(member);
            return std::abs(values[member] - target) >
                   Contradiction * std::max(1.0, std::abs(target));
        });
    }

    // The gradient of a constraint in the direction in which it is violated.
    [[nodiscard]] Vector outward(std::size_t k, double sign) const {
        Vector row(data_.n, 0.0);
        if (!sides_.isRow(k)) {
            row[k - data_.m] = sign;
            return row;
        }
        for (std::size_t j = 0; j < data_.n; ++j) {
            row[j] = sign * data_.columnOfA(j)[k];
        }
        return row;
    }

    // Brings one constraint to its side. False when nothing can: the multipliers then prove it.
    bool pull(std::size_t entering) {
        const double value = valueOf(entering);
        const Side side = value > sides_.upper(entering) ? Side::Upper : Side::Lower;
        const double sign = side == Side::Upper ? 1.0 : -1.0;
        const double target = side == Side::Upper ? sides_.upper(entering) : sides_.lower(entering);
        const Vector row = outward(entering, sign);
        const double negligible = Negligible * system_.mobility(row);
        for (;;) {
            ++steps_;
            Vector step = row;
            for (double& entry : step) {
                entry = -entry;
            }
            Vector change(multipliers_.size(), 0.0);
            system_.solve(step, change);
            const double approach = -dot(row.data(), step.data(), data_.n);
            const double distance = sign * (valueOf(entering) - target);
            // A row that hardly moves depends on the members: what is left is rounding.
            const double toSide =
                approach > negligible ? std::max(0.0, distance) / approach : Infinity;
            const auto [toChange, leaving] = firstSignChange(change);
            const double length = std::min(toSide, toChange);
            if (length == Infinity) {
                multipliers_ = std::move(change);
                enter(entering, side, sign);
                return false;
            }
            if (toSide < Infinity) {
                axpy(length, step.data(), x_.data(), data_.n);
            }
            axpy(length, change.data(), multipliers_.data(), change.size());
            if (toSide <= toChange) {
                sides_.hold(entering, side);
                minimise();  // so that no rounding adds up
                return true;
            }
            leave(leaving);
        }
    }

    [[nodiscard]] double valueOf(std::size_t k) const {
        if (!sides_.isRow(k)) {
            return x_[k - data_.m];
        }
        double sum = 0.0;
        for (std::size_t j = 0; j < data_.n; ++j) {
            sum += data_.columnOfA(j)[k] * x_[j];
        }
        return sum;
    }

    // How far the multipliers may change, and which one becomes zero then.
    [[nodiscard]] std::pair<double, std::size_t> firstSignChange(const Vector& change) const {
        std::pair<double, std::size_t> first{Infinity, None};
        for (std::size_t k = 0; k < change.size(); ++k) {
            const double sign = sides_.sign(system_.members()[k]);
            if (sign * change[k] < 0.0) {
                const double length = std::max(0.0, -multipliers_[k] / change[k]);
                if (length < first.first) {
                    first = {length, k};
                }
            }
        }
        return first;
    }

    // Members are ascending: the multiplier takes the same place as the constraint.
    void enter(std::size_t constraint, Side side, double multiplier) {
        sides_.hold(constraint, side);
        std::vector<std::size_t> members = system_.members();
        const auto place = std::lower_bound(members.begin(), members.end(), constraint);
        multipliers_.insert(multipliers_.begin() + (place - members.begin()), multiplier);
        members.insert(place, constraint);
        system_.setMembers(std::move(members));
    }

    void leave(std::size_t k) {
        std::vector<std::size_t> members = system_.members();
        sides_.hold(members[k], Side::None);
        members.erase(members.begin() + static_cast<std::ptrdiff_t>(k));
        multipliers_.erase(multipliers_.begin() + static_cast<std::ptrdiff_t>(k));
        system_.setMembers(std::move(members));
    }

    // Of what a row moves without members.
    static constexpr double Negligible = 1e-10;

    const Data& data_;
    SchurSystem& system_;
    Sides sides_;
    Control& control_;
    Vector x_;
    Vector multipliers_;  // of the members
    std::size_t steps_ = 0;
};

}  // namespace

DualOutcome solveDual(const Data& data, SchurSystem& system, Sides guess, Control& control) {
    return DualMethod(data, system, std::move(guess), control).run();
}

}  // namespace activeset::frontend
