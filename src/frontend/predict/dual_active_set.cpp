// One constraint at a time; the dual objective rises.
#include "frontend/predict/dual_active_set.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "frontend/predict/dual_factors.hpp"

namespace activeset::frontend {

namespace {

constexpr std::size_t None = std::numeric_limits<std::size_t>::max();

// A row depends on the members if they leave it less than this part of its mobility.
constexpr double DependentMobility = 1e-18;
// After so many steps x and the multipliers are computed anew, so that rounding does not add up.
constexpr std::size_t StepsBetweenMinimisations = 32;

/// The constraint that is being pulled to its side.
struct Entering {
    std::size_t constraint = None;
    Side side = Side::None;
    double sign = 0.0;  ///< 1 at the upper side, −1 at the lower one
    double target = 0.0;
    Vector outward;           ///< its gradient in the direction in which it is violated
    double multiplier = 0.0;  ///< of the gradient
    double violation = 0.0;   ///< when it was chosen
};

class DualMethod {
public:
    DualMethod(const ProblemData& data, const Dense& factor, Constraints guess, Control& control)
        : data_(data),
          sides_(std::move(guess)),
          control_(control),
          factors_(factor, sides_),
          isIgnored_(sides_.count(), false) {}

    DualOutcome run() {
        const std::size_t mostSteps = 100 + 20 * (data_.n + sides_.count());
        holdMembersOnly();
        makeDualFeasible();
        DualOutcome::End end = DualOutcome::Stopped;
        while (end == DualOutcome::Stopped && steps_ < mostSteps && !control_.mustEnd()) {
            Entering entering = mostViolated();
            if (entering.constraint == None && sinceMinimisation_ != 0) {
                minimise();
            } else if (entering.constraint == None) {
                end = DualOutcome::Optimal;
            } else if (!pull(entering)) {
                end = DualOutcome::Infeasible;
            }
            control_.poll();
        }
        return {end, std::move(sides_), point(), steps_};
    }

private:
    // Lets go of members of the guess that the factors have left out.
    void holdMembersOnly() {
        std::vector<Side> held(sides_.count(), Side::None);
        for (const std::size_t member : factors_.members()) {
            held[member] = sides_[member];
        }
        for (std::size_t k = 0; k < held.size(); ++k) {
            sides_.hold(k, held[k]);
        }
    }

    void minimise() {
        Vector targets;
        for (const std::size_t member : factors_.members()) {
            targets.push_back(sides_.target(member));
        }
        factors_.minimise(data_.c, std::move(targets), x_, multipliers_);
        sinceMinimisation_ = 0;
    }

    // Drops members whose multipliers have the wrong sign.
    void makeDualFeasible() {
        bool isFeasible = false;
        while (!isFeasible && !control_.mustEnd()) {
            minimise();
            control_.poll();
            isFeasible = true;
            for (std::size_t k = multipliers_.size(); k-- > 0;) {
                const double sign = sides_.sign(factors_.members()[k]);
                if (sign != 0.0 && !(sign * multipliers_[k] > 0.0)) {
                    leave(k);
                    isFeasible = false;
                }
            }
        }
    }

    // Equalities that depend on others are not members, but they may contradict them.
    [[nodiscard]] Entering mostViolated() const {
        const Vector values = sides_.values(x_);
        Entering worst;
        for (std::size_t k = 0; k < values.size(); ++k) {
            const Side side = sides_[k] == Side::None ? sides_.beyond(k, values[k]) : Side::None;
            if (side == Side::None || isIgnored_[k]) {
                continue;
            }
            const double target = side == Side::Upper ? sides_.upper(k) : sides_.lower(k);
            const double violation = std::abs(values[k] - target);
            if (violation > worst.violation) {
                worst = {k, side, side == Side::Upper ? 1.0 : -1.0, target, {}, 0.0, violation};
            }
        }
        return worst;
    }

    // Brings a constraint to its side. False if nothing can; the multipliers then prove it.
    bool pull(Entering& entering) {
        entering.outward = sides_.row(entering.constraint);
        for (double& entry : entering.outward) {
            entry *= entering.sign;
        }
        image_ = factors_.image(entering.outward);
        const double negligible = DependentMobility * dot(image_.data(), image_.data(), data_.n);
        if (!(factors_.mobility(image_) > negligible) && isImplied(entering)) {
            isIgnored_[entering.constraint] = true;
            return true;
        }
        for (;;) {
            ++steps_;
            const Vector change = factors_.change(image_);
            const double mobility = factors_.mobility(image_);
            const bool isMobile = mobility > negligible;
            const double toSide = isMobile ? distanceOf(entering) / mobility : Infinity;
            const auto [toChange, leaving] = firstSignChange(change);
            const double length = std::min(toSide, toChange);
            if (length == Infinity) {
                contradict(entering, change);
                return false;
            }
            if (isMobile) {
                axpy(length, factors_.step(image_).data(), x_.data(), data_.n);
            }
            axpy(length, change.data(), multipliers_.data(), change.size());
            entering.multiplier += length;
            if (toSide <= toChange) {
                enter(entering);
                return true;
            }
            leave(leaving);
        }
    }

    [[nodiscard]] double distanceOf(const Entering& entering) const {
        const double value = dot(entering.outward.data(), x_.data(), data_.n);
        return std::max(0.0, value - entering.sign * entering.target);
    }

    // How far the multipliers may change until one becomes zero, and which one.
    [[nodiscard]] std::pair<double, std::size_t> firstSignChange(const Vector& change) const {
        std::pair<double, std::size_t> first{Infinity, None};
        for (std::size_t k = 0; k < change.size(); ++k) {
            const double sign = sides_.sign(factors_.members()[k]);
            if (sign * change[k] < 0.0) {
                const double length = std::max(0.0, -multipliers_[k] / change[k]);
                if (length < first.first) {
                    first = {length, k};
                }
            }
        }
        return first;
    }

    void enter(const Entering& entering) {
        const bool isEquality =
            sides_.lower(entering.constraint) == sides_.upper(entering.constraint);
        sides_.hold(entering.constraint, isEquality ? Side::Both : entering.side);
        for (double& entry : image_) {
            entry *= entering.sign;
        }
        factors_.insert(entering.constraint, image_);
        multipliers_.push_back(entering.sign * entering.multiplier);
        if (++sinceMinimisation_ >= StepsBetweenMinimisations) {
            minimise();
        }
    }

    void leave(std::size_t k) {
        isIgnored_.assign(isIgnored_.size(), false);  // what depended on it may move now
        sides_.hold(factors_.members()[k], Side::None);
        factors_.remove(k, image_);
        multipliers_.erase(multipliers_.begin() + static_cast<std::ptrdiff_t>(k));
    }

    // A row that depends on the members is −Wᵀ·change. Its value is that combination of their
    // sides, whatever x is, so the rounding of a point far out does not matter.
    [[nodiscard]] bool isImplied(const Entering& entering) const {
        const Vector change = factors_.change(image_);
        double value = 0.0;
        double scale = std::abs(entering.target);
        for (std::size_t k = 0; k < change.size(); ++k) {
            const double term = change[k] * sides_.target(factors_.members()[k]);
            value -= term;
            scale += std::abs(term);
        }
        return value - entering.sign * entering.target <= ImpliedTolerance * scale;
    }

    // outward + Wᵀ·change = 0, and no multiplier has the wrong sign.
    void contradict(const Entering& entering, const Vector& change) {
        multipliers_ = change;
        contradicted_ = entering.constraint;
        contradiction_ = entering.sign;
    }

    [[nodiscard]] Point point() const {
        Point result{x_, Vector(data_.m, 0.0), Vector(data_.n, 0.0)};
        const auto put = [&](std::size_t k, double multiplier) {
            (sides_.isRow(k) ? result.y[k] : result.z[k - data_.m]) = multiplier;
        };
        for (std::size_t k = 0; k < multipliers_.size(); ++k) {
            put(factors_.members()[k], multipliers_[k]);
        }
        if (contradicted_ != None) {
            put(contradicted_, contradiction_);
        }
        return result;
    }

    const ProblemData& data_;
    Constraints sides_;
    Control& control_;
    DualFactors factors_;
    std::vector<bool> isIgnored_;  // depends on the members, which put it on its side
    Vector x_;
    Vector multipliers_;  // of the members
    Vector image_;        // of the entering constraint
    std::size_t steps_ = 0;
    std::size_t sinceMinimisation_ = 0;
    std::size_t contradicted_ = None;
    double contradiction_ = 0.0;
};

}  // namespace

DualOutcome solveDual(const ProblemData& data,
                      const Dense& factor,
                      Constraints guess,
                      Control& control) {
    return DualMethod(data, factor, std::move(guess), control).run();
}

}  // namespace activeset::frontend
