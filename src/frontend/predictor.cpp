// The primal-dual active-set iteration, and the correction of what it ends with.
#include "frontend/predictor.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <set>
#include <utility>

#include "frontend/certificate.hpp"
#include "frontend/schur_system.hpp"

namespace activeset::frontend {

namespace {

enum class Side : std::uint8_t { None, Lower, Upper, Both };

class Guess {
public:
    Guess(const Data& data, const Dense& factor)
        : data_(data), system_(data, factor), sides_(data.m + data.n, Side::None) {
        for (std::size_t k = 0; k < sides_.size(); ++k) {
            if (lower(k) == upper(k)) {
                sides_[k] = Side::Both;
            }
        }
    }

    /// One round; false when the guess stays as it is.
    bool improve() {
        takeMembers();
        x_ = data_.c;
        for (double& entry : x_) {
            entry = -entry;
        }
        multipliers_ = target_;
        system_.solve(x_, multipliers_);
        return revise();
    }

    [[nodiscard]] const std::vector<Side>& sides() const { return sides_; }
    [[nodiscard]] std::size_t size() const { return system_.members().size(); }

    /// The equations again, for what is left of their residuals in extended precision.
    void correct() {
        constexpr int Corrections = 1;  // a second one changes the last digit at most
        for (int round = 0; round < Corrections; ++round) {
            const Point at = point();
            const std::vector<Sum> gradient = gradientSums(data_, at.x, at.y);
            const std::vector<Sum> rows = rowValues(data_, at.x);
            Vector step(data_.n);
            for (std::size_t j = 0; j < data_.n; ++j) {
                step[j] = -static_cast<double>(gradient[j].value + at.z[j]);
            }
            Vector change(target_.size());
            for (std::size_t k = 0; k < change.size(); ++k) {
                const std::size_t member = system_.members()[k];
                change[k] = member < data_.m ? static_cast<double>(target_[k] - rows[member].value)
                                             : target_[k] - at.x[member - data_.m];
            }
            system_.solve(step, change);
            axpy(1.0, step.data(), x_.data(), x_.size());
            axpy(1.0, change.data(), multipliers_.data(), multipliers_.size());
        }
        for (std::size_t k = 0; k < target_.size(); ++k) {
            if (system_.members()[k] >= data_.m) {
                x_[system_.members()[k] - data_.m] = target_[k];
            }
        }
    }

    [[nodiscard]] Point point() const {
        Point result{x_, Vector(data_.m, 0.0), Vector(data_.n, 0.0)};
        for (std::size_t k = 0; k < multipliers_.size(); ++k) {
            const std::size_t member = system_.members()[k];
            (member < data_.m ? result.y[member] : result.z[member - data_.m]) = multipliers_[k];
        }
        return result;
    }

    [[nodiscard]] WorkingSet workingSet() const {
        WorkingSet set;
        for (const std::size_t member : system_.members()) {
            const bool isRow = member < data_.m;
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
    [[nodiscard]] double lower(std::size_t k) const {
        return k < data_.m ? data_.rowLower[k] : data_.lower[k - data_.m];
    }
    [[nodiscard]] double upper(std::size_t k) const {
        return k < data_.m ? data_.rowUpper[k] : data_.upper[k - data_.m];
    }

    void takeMembers() {
        std::vector<std::size_t> members;
        target_.clear();
        for (std::size_t k = 0; k < sides_.size(); ++k) {
            if (sides_[k] != Side::None) {
                members.push_back(k);
                target_.push_back(sides_[k] == Side::Lower ? lower(k) : upper(k));
            }
        }
        system_.setMembers(std::move(members));
    }

    bool revise() {
        constexpr double Violation = 1e-11;
        bool hasChanged = false;
        const auto put = [&](std::size_t k, Side side) {
            hasChanged = hasChanged || sides_[k] != side;
            sides_[k] = side;
        };
        Vector values(data_.m, 0.0);
        for (std::size_t j = 0; j < data_.n; ++j) {
            axpy(x_[j], data_.columnOfA(j), values.data(), data_.m);
        }
        values.insert(values.end(), x_.begin(), x_.end());
        std::size_t next = 0;
        for (std::size_t k = 0; k < sides_.size(); ++k) {
            if (sides_[k] == Side::None) {
                const double slack = Violation * std::max(1.0, std::abs(values[k]));
                if (values[k] > upper(k) + slack) {
                    put(k, Side::Upper);
                } else if (values[k] < lower(k) - slack) {
                    put(k, Side::Lower);
                }
                continue;
            }
            const double multiplier = multipliers_[next++];
            const bool isWrong = (sides_[k] == Side::Upper && !(multiplier > 0.0)) ||
                                 (sides_[k] == Side::Lower && !(multiplier < 0.0));
            if (isWrong) {
                put(k, Side::None);
            }
        }
        return hasChanged;
    }

    const Data& data_;
    SchurSystem system_;
    std::vector<Side> sides_;  // rows, then bounds
    Vector target_;            // right-hand sides of the members
    Vector x_;
    Vector multipliers_;  // of the members
};

}  // namespace

Prediction predict(const Data& data, const Dense& factor, Control& control) {
    constexpr std::size_t MostIterations = 50;
    Prediction prediction;
    Guess guess(data, factor);
    std::set<std::vector<Side>> seen;
    while (prediction.iterations < MostIterations && !control.mustEnd()) {
        ++prediction.iterations;
        if (!guess.improve()) {
            guess.correct();
            prediction.hasConverged = true;
            prediction.point = guess.point();
            prediction.set = guess.workingSet();
            break;
        }
        if (!seen.insert(guess.sides()).second) {
            break;  // the same guess as before: it would come again
        }
        control.poll();
    }
    return prediction;
}

}  // namespace activeset::frontend
