// The steps of the block primal method.
#include "frontend/predict/block_primal.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "frontend/algebra/dense.hpp"
#include "frontend/predict/point_on_row.hpp"

namespace activeset::frontend {

namespace {

constexpr std::size_t MostFreed = 8;  // in a step

}  // namespace

bool BlockPrimal::suits(const ProblemData& data) {
    return data.m == 0 || (data.m == 1 && data.rowLower[0] == data.rowUpper[0]);
}

BlockPrimal::BlockPrimal(Subproblem& problem, const Vector& x, Constraints first, Control& control)
    : data_(problem.data()),
      system_(problem.freeSystem()),
      control_(control),
      first_(std::move(first)),
      x_(data_.n),
      g_(data_.c),
      isFree_(data_.n, false) {
    for (std::size_t j = 0; j < data_.n; ++j) {
        const std::size_t k = data_.m + j;
        x_[j] = first_[k] != Side::None ? first_.target(k)
                                        : std::min(std::max(x[j], data_.lower[j]), data_.upper[j]);
    }
}

bool BlockPrimal::run() {
    const std::size_t mostSteps = 64 + 8 * data_.n;
    if (!findFeasiblePoint()) {
        return false;
    }
    List all;
    for (std::size_t j = 0; j < data_.n; ++j) {
        all.push_back(j);
        if (isInside(j)) {
            F_.push_back(j);
            isFree_[j] = true;
        }
    }
    addHessianColumns(data_, all, x_.data(), g_.data());
    while (steps_ <= mostSteps && minimise()) {
        const List freed = mostWrong();
        if (freed.empty()) {
            return true;
        }
        worst_ = freed.front();
        for (const std::size_t j : freed) {
            isFree_[j] = true;
        }
        F_.insert(F_.end(), freed.begin(), freed.end());
        std::sort(F_.begin(), F_.end());
    }
    return false;
}

// Moves variables between their bounds, or all where that is not enough.
bool BlockPrimal::findFeasiblePoint() {
    if (data_.m == 0) {
        return true;
    }
    Vector inside(data_.n);
    for (std::size_t j = 0; j < data_.n; ++j) {
        inside[j] = isInside(j) ? data_.A[j] : 0.0;
    }
    std::optional<Vector> moved = pointOnRow(data_, x_, inside);
    if (!moved) {
        moved = pointOnRow(data_, x_, data_.A);
    }
    if (moved) {
        x_ = std::move(*moved);
    }
    return moved.has_value();
}

// Minimises over the free variables. Those that reach a bound become fixed.
bool BlockPrimal::minimise() {
    while (!control_.mustEnd()) {
        const bool isRowFree = std::any_of(F_.begin(), F_.end(),
                                           [this](std::size_t j) { return entryOfRow(j) != 0.0; });
        if (!system_.setSets(F_, isRowFree ? List{0} : List{})) {
            return false;
        }
        if (!isRowFree) {
            y_ = chooseMultiplier();
        }
        ++steps_;
        control_.poll();
        const Step step = F_.empty() ? Step::Whole : takeStep();
        if (step != Step::Blocked) {
            return step == Step::Whole;
        }
    }
    return false;
}

// Takes Newton's step, or as much of it as the bounds allow.
BlockPrimal::Step BlockPrimal::takeStep() {
    const Vector p = direction();
    double alpha = 1.0;
    Vector reach(F_.size(), Infinity);
    for (std::size_t k = 0; k < F_.size(); ++k) {
        const std::size_t j = F_[k];
        const double room = p[k] < 0.0 ? data_.lower[j] - x_[j] : data_.upper[j] - x_[j];
        reach[k] = p[k] != 0.0 ? room / p[k] : Infinity;
        alpha = std::min(alpha, reach[k]);
    }
    if (alpha == 0.0) {
        return fixBlocked(reach);
    }
    Vector step(data_.n, 0.0);
    List staying;
    for (std::size_t k = 0; k < F_.size(); ++k) {
        const std::size_t j = F_[k];
        const double before = x_[j];
        if (alpha < 1.0 && reach[k] <= alpha) {
            x_[j] = p[k] < 0.0 ? data_.lower[j] : data_.upper[j];
            isFree_[j] = false;
        } else {
            x_[j] = std::min(std::max(x_[j] + alpha * p[k], data_.lower[j]), data_.upper[j]);
            staying.push_back(j);
        }
        step[j] = x_[j] - before;
    }
    addHessianColumns(data_, F_, step.data(), g_.data());
    F_ = std::move(staying);
    return alpha < 1.0 ? Step::Blocked : Step::Whole;
}

Vector BlockPrimal::direction() {
    Vector p(F_.size());
    for (std::size_t k = 0; k < F_.size(); ++k) {
        p[k] = -g_[F_[k]];
    }
    Vector rest(system_.rows().size());
    if (!rest.empty()) {
        rest[0] = data_.rowLower[0] - dot(data_.A.data(), x_.data(), data_.n);
    }
    system_.solve(p, rest);
    if (!rest.empty()) {
        y_ = rest[0];
    }
    return p;
}

// If nothing can move, fixes variables again that would go beyond their bounds. If the worst of the
// variables that were freed is among them, fixes all others at bounds: by itself that one moves the
// right way.
BlockPrimal::Step BlockPrimal::fixBlocked(const Vector& reach) {
    List staying;
    bool isWorstBlocked = false;
    for (std::size_t k = 0; k < F_.size(); ++k) {
        isWorstBlocked = isWorstBlocked || (F_[k] == worst_ && reach[k] == 0.0);
    }
    for (std::size_t k = 0; k < F_.size(); ++k) {
        const std::size_t j = F_[k];
        const bool isAtBound = x_[j] == data_.lower[j] || x_[j] == data_.upper[j];
        if (j != worst_ && (isWorstBlocked ? isAtBound : reach[k] == 0.0)) {
            isFree_[j] = false;
        } else {
            staying.push_back(j);
        }
    }
    const bool isStuck = staying.size() == F_.size();
    F_ = std::move(staying);
    return isStuck ? Step::Stuck : Step::Blocked;
}

// The multiplier of a row in which no free variable has an entry. Variables at bounds allow an
// interval, whose middle is taken; if they allow none, the middle between the two that contradict
// each other most.
double BlockPrimal::chooseMultiplier() const {
    double least = -Infinity;
    double most = Infinity;
    for (std::size_t j = 0; j < data_.n; ++j) {
        const double a = entryOfRow(j);
        if (a == 0.0 || data_.lower[j] == data_.upper[j]) {
            continue;
        }
        const bool isAtLower = x_[j] == data_.lower[j];
        if (isAtLower == (a > 0.0)) {
            least = std::max(least, -g_[j] / a);
        } else {
            most = std::min(most, -g_[j] / a);
        }
    }
    if (least > -Infinity && most < Infinity) {
        return 0.5 * (least + most);
    }
    return least > -Infinity ? least : most < Infinity ? most : 0.0;
}

// The fixed variables each of which, freed alone, would lower the objective most.
BlockPrimal::List BlockPrimal::mostWrong() const {
    constexpr double SlopeRounding = 1e-13;
    std::vector<std::pair<double, std::size_t>> candidates;
    for (std::size_t j = 0; j < data_.n; ++j) {
        const double pull = y_ * entryOfRow(j);
        const double slope = g_[j] + pull;
        const double amount = x_[j] == data_.lower[j] ? -slope : slope;
        const double size = 1.0 + std::abs(g_[j]) + std::abs(pull);
        if (!isFree_[j] && data_.lower[j] < data_.upper[j] && amount > SlopeRounding * size) {
            candidates.emplace_back(-amount / std::sqrt(data_.columnOfH(j)[j]), j);
        }
    }
    const std::size_t count = std::min(MostFreed, candidates.size());
    std::partial_sort(candidates.begin(), candidates.begin() + static_cast<std::ptrdiff_t>(count),
                      candidates.end());
    List result;
    for (std::size_t k = 0; k < count; ++k) {
        result.push_back(candidates[k].second);
    }
    return result;
}

Constraints BlockPrimal::sides() const {
    Constraints result = first_;
    for (std::size_t j = 0; j < data_.n; ++j) {
        if (result[data_.m + j] != Side::Both) {
            const Side side = x_[j] == data_.lower[j] ? Side::Lower : Side::Upper;
            result.hold(data_.m + j, isFree_[j] ? Side::None : side);
        }
    }
    return result;
}

}  // namespace activeset::frontend
