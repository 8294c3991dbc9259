// The loop of the block dual method.
#include "frontend/predict/block_dual.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "frontend/problem/extended_sums.hpp"

namespace activeset::frontend {

namespace {

// By how much a value may be beyond its side, in proportion to 1 plus the side and, at a refined
// point, the terms of the value.
constexpr double ViolationOnTheWay = 1e-10;
constexpr double ViolationAtTheEnd = 1e-13;
// What rounding alone leaves, if the point was sought on that side.
constexpr double ViolationRounding = 0x1p-49;
// A member that misses its side by more than this share of the first one has lost its digits.
constexpr double MissedShare = 0.1;
// Violations up to this may be the rounding of a point far out.
constexpr double LittleViolation = 1e-7;
// After so many single steps in a row, more are to be expected.
constexpr std::size_t MostPulls = 8;

}  // namespace

BlockDual::BlockDual(Subproblem& problem, Constraints first, Control& control)
    : data_(problem.data()),
      weights_(problem.weights()),
      equality_(problem),
      sides_(std::move(first)),
      control_(control),
      lambda_(sides_.count(), 0.0),
      isIgnored_(sides_.count(), false) {}

DualOutcome BlockDual::run() {
    most_ = mostNewcomers();
    const std::size_t mostSteps = 32 + data_.n / 16;
    start();
    DualOutcome::End end = DualOutcome::Stopped;
    bool isStuck = false;
    while (end == DualOutcome::Stopped && !isStuck && !control_.mustEnd()) {
        computePoint();
        std::vector<Violated> candidates = violated(ViolationOnTheWay);
        if (isMinimum(candidates)) {
            end = DualOutcome::Optimal;
        } else if (doRowsContradict()) {
            end = DualOutcome::Infeasible;
        } else if (!seen_.insert(sides_.all()).second) {
            isStuck = true;  // rounding has brought a set back
        } else if (W_.size() < data_.n && most_ > 1 && steps_ <= mostSteps &&
                   takesIn(newcomersOf(candidates))) {
            most_ = std::min(2 * most_, mostNewcomers());
            pulls_ = 0;
        } else if (++pulls_ > MostPulls || steps_ > mostSteps) {
            end = DualOutcome::Slow;
        } else {
            most_ = std::max<std::size_t>(most_ / 2, 1);  // blocks that fail only cost time
            const Pulled pulled = pull(*std::max_element(
                candidates.begin(), candidates.end(),
                [](const Violated& a, const Violated& b) { return a.weighed < b.weighed; }));
            isStuck = pulled == Pulled::Stuck;
            end = pulled == Pulled::Contradicted ? DualOutcome::Infeasible : end;
        }
    }
    DualOutcome outcome{end, std::move(sides_), {}, steps_};
    if (end == DualOutcome::Optimal) {
        outcome.point = pointOf(data_, equality_.members(), trial_, std::move(x_));
    } else if (end == DualOutcome::Infeasible) {
        outcome.point = std::move(contradiction_);
    }
    return outcome;
}

// Drops from the first set what depends on other members, and what has the wrong sign.
void BlockDual::start() {
    List wanted = sides_.members();
    std::stable_partition(wanted.begin(), wanted.end(),
                          [this](std::size_t k) { return sides_[k] == Side::Both; });
    while (wanted.size() > data_.n) {  // a first set may name everything
        sides_.hold(wanted.back(), Side::None);
        wanted.pop_back();
    }
    dropUntilRight(std::move(wanted));
    accept();
}

void BlockDual::computePoint() {
    equality_.setMembers(W_);
    takeMultipliers();
    x_ = equality_.minimiser(sides_, trial_);
    values_ = sides_.values(x_);
    scales_.assign(values_.size(), 0.0);
    // Where x is far from the members' sides, t and Gλ have cancelled: H is nearly singular.
    const bool isMissed = std::any_of(W_.begin(), W_.end(), [this](std::size_t k) {
        const double target = sides_.target(k);
        return std::abs(values_[k] - target) >
               MissedShare * ViolationOnTheWay * (1.0 + std::abs(target));
    });
    if (isMissed) {
        equality_.moveToSides(sides_, values_, x_, trial_);
        values_ = sides_.values(x_);
    }
}

// If little or nothing is violated, refines the point and looks again, to within rounding. A set
// that comes back after that is accepted to within what a proof allows.
bool BlockDual::isMinimum(std::vector<Violated>& candidates) {
    const bool isLittle =
        std::all_of(candidates.begin(), candidates.end(),
                    [](const Violated& one) { return one.amount <= LittleViolation; });
    if (!isLittle) {
        return false;
    }
    refinePoint();
    candidates = violated(seen_.contains(sides_.all()) ? ViolationOnTheWay : ViolationAtTheEnd);
    if (!candidates.empty()) {
        return false;
    }
    constexpr int MostRounds = 4;
    for (int round = 0; round < MostRounds && holdsMissed(); ++round) {
        refinePoint();
    }
    return true;
}

// Where more constraints than W have the point on their sides, it misses some by the rounding of
// the others. They join W, and their multipliers are rounding.
bool BlockDual::holdsMissed() {
    const std::vector<Violated> missed = violated(ViolationRounding);
    if (missed.empty() || W_.size() + missed.size() > data_.n) {
        return false;
    }
    const Constraints before = sides_;
    accept();
    List wanted = W_;
    for (const Violated& newcomer : missed) {
        hold(newcomer);
        wanted.push_back(newcomer.constraint);
    }
    equality_.setMembers(wanted);
    const bool areAllHeld = equality_.members().size() == wanted.size();
    if (!areAllHeld) {
        sides_ = before;
        equality_.setMembers(W_);
    }
    W_ = equality_.members();
    takeMultipliers();
    return areAllHeld;
}

// Those of the members, in their order.
void BlockDual::takeMultipliers() {
    const List& members = equality_.members();
    trial_.resize(members.size());
    std::transform(members.begin(), members.end(), trial_.begin(),
                   [this](std::size_t k) { return lambda_[k]; });
}

void BlockDual::refinePoint() {
    const Polishing polishing(control_);
    equality_.refine(sides_, x_, trial_);
    const std::vector<Sum> rows = rowValues(data_, x_);
    values_ = x_;
    values_.insert(values_.begin(), data_.m, 0.0);
    scales_.assign(values_.size(), 0.0);
    for (std::size_t i = 0; i < data_.m; ++i) {
        values_[i] = static_cast<double>(rows[i].value);
        scales_[i] = rows[i].scale;
    }
}

std::vector<BlockDual::Violated> BlockDual::violated(double tolerance) const {
    std::vector<Violated> result;
    for (std::size_t k = 0; k < values_.size(); ++k) {
        if (sides_[k] != Side::None || isIgnored_[k]) {
            continue;
        }
        const double above = values_[k] - sides_.upper(k);
        const double below = sides_.lower(k) - values_[k];
        const double amount = std::max(above, below);
        const double target = above > below ? sides_.upper(k) : sides_.lower(k);
        if (amount > tolerance * (1.0 + std::abs(target) + scales_[k])) {
            result.push_back(
                {k, above > below ? Side::Upper : Side::Lower, amount, amount * weights_[k]});
        }
    }
    return result;
}

std::size_t BlockDual::mostNewcomers() const {
    constexpr double NewcomersPerVariable = 0.06;
    constexpr std::size_t Few = 8;
    return std::max(Few,
                    static_cast<std::size_t>(NewcomersPerVariable * static_cast<double>(data_.n)));
}

// The worst of the violated constraints: those not much better than the very worst, and no more
// than there is room for.
std::vector<BlockDual::Violated> BlockDual::newcomersOf(std::vector<Violated> candidates) const {
    constexpr double ShareOfWorst = 0.2;
    const auto isWorse = [](const Violated& a, const Violated& b) {
        return a.weighed > b.weighed || (a.weighed == b.weighed && a.constraint < b.constraint);
    };
    const std::size_t most = std::min({most_, data_.n - W_.size(), candidates.size()});
    std::partial_sort(candidates.begin(), candidates.begin() + static_cast<std::ptrdiff_t>(most),
                      candidates.end(), isWorse);
    candidates.resize(most);
    const double least = ShareOfWorst * candidates.front().weighed;
    std::erase_if(candidates, [least](const Violated& one) { return one.weighed < least; });
    return candidates;
}

}  // namespace activeset::frontend
