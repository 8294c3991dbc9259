// How the block dual method changes its working set: by several constraints at once, along a path,
// or by one.
#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

#include "frontend/predict/block_dual.hpp"
#include "frontend/predict/multiplier_path.hpp"

namespace activeset::frontend {

// Solves for a set. Members that depend on others leave it; the others take the factor's order.
void BlockDual::solve(List& wanted) {
    ++steps_;
    equality_.setMembers(wanted);
    if (equality_.members().size() < wanted.size()) {
        List members = equality_.members();
        std::sort(members.begin(), members.end());
        for (const std::size_t k : wanted) {
            if (!std::binary_search(members.begin(), members.end(), k)) {
                sides_.hold(k, Side::None);
            }
        }
    }
    wanted = equality_.members();
    control_.poll();
    equality_.solve(sides_, trial_);
}

// Whether Φ is higher for the members and their multipliers λ' than for W and λ. It is concave, and
// its slopes are a·x − side at each set's minimum, 0 for members. So it rises by Σ λ'_k·slope_k
// over newcomers minus Σ λ_k·slope'_k over those that left. The difference of the two values would
// drown in rounding where H is nearly singular.
bool BlockDual::hasRisen(const Constraints& before) const {
    constexpr double RiseRounding = 1e-12;
    const List& V = equality_.members();
    std::vector<bool> isMember(sides_.count(), false);
    double rise = 0.0;
    double scale = 0.0;
    const auto add = [&](double term) {
        rise += term;
        scale += std::abs(term);
    };
    for (std::size_t k = 0; k < V.size(); ++k) {
        isMember[V[k]] = true;
        if (before[V[k]] == Side::None) {
            add(trial_[k] * (values_[V[k]] - sides_.target(V[k])));
        }
    }
    List left;
    std::copy_if(W_.begin(), W_.end(), std::back_inserter(left),
                 [&](std::size_t k) { return !isMember[k]; });
    const Vector values = equality_.valuesOf(left, trial_);
    for (std::size_t k = 0; k < left.size(); ++k) {
        add(-lambda_[left[k]] * (values[k] - before.target(left[k])));
    }
    return rise > RiseRounding * scale;
}

void BlockDual::accept() {
    for (const std::size_t k : W_) {
        lambda_[k] = 0.0;
    }
    W_ = equality_.members();
    for (std::size_t k = 0; k < W_.size(); ++k) {
        lambda_[W_[k]] = trial_[k];
    }
}

void BlockDual::release(std::size_t constraint) {
    sides_.hold(constraint, Side::None);
    lambda_[constraint] = 0.0;
    ignoreNothing();  // what depended on it may move now
}

// Drops members with the wrong sign until there are none.
void BlockDual::dropUntilRight(List wanted) {
    for (;;) {
        solve(wanted);
        List right;
        for (std::size_t k = 0; k < wanted.size(); ++k) {
            if (hasRightSign(wanted[k], trial_[k])) {
                right.push_back(wanted[k]);
            } else {
                sides_.hold(wanted[k], Side::None);
            }
        }
        if (right.size() == wanted.size()) {
            return;
        }
        wanted = std::move(right);
    }
}

// Goes from the multipliers of W, which are zero for newcomers, straight towards those of the whole
// set, until a sign would change. Members that are zero there leave, and so on. Φ rises on the way,
// because it is concave and the end is its maximum. At the start newcomers with the wrong sign
// leave together.
void BlockDual::followPath(List wanted) {
    Vector current = lambda_;
    for (;;) {
        solve(wanted);
        Vector from;
        Vector signs;
        for (const std::size_t k : wanted) {
            from.push_back(current[k]);
            signs.push_back(sides_.sign(k));
        }
        const MultiplierPath path = pathBetween(from, trial_, signs);
        List staying;
        for (std::size_t k = 0; k < wanted.size(); ++k) {
            if (path.hasVanished[k]) {
                sides_.hold(wanted[k], Side::None);
            } else {
                current[wanted[k]] = path.multipliers[k];
                staying.push_back(wanted[k]);
            }
        }
        if (staying.size() == wanted.size()) {
            return;
        }
        wanted = std::move(staying);
    }
}

// Takes in several violated constraints at once. False, with nothing changed, if Φ does not rise.
bool BlockDual::takesIn(const std::vector<Violated>& newcomers) {
    const Constraints before = sides_;
    const auto wanted = [&] {
        List list = W_;
        for (const Violated& newcomer : newcomers) {
            hold(newcomer);
            list.push_back(newcomer.constraint);
        }
        return list;
    };
    dropUntilRight(wanted());
    if (!hasRisen(before)) {
        sides_ = before;
        followPath(wanted());
    }
    if (!hasRisen(before)) {
        sides_ = before;
        return false;
    }
    const bool hasKeptAll = std::all_of(W_.begin(), W_.end(),
                                        [this](std::size_t k) { return sides_[k] != Side::None; });
    if (!hasKeptAll) {
        ignoreNothing();
    }
    accept();
    return true;
}

// Goldfarb and Idnani's step. Per unit of its multiplier, constraint q moves by what the members
// leave of ‖g_q‖², and the multipliers of W change by −r.
BlockDual::Pulled BlockDual::pull(const Violated& entering) {
    const std::size_t q = entering.constraint;
    const double sign = entering.side == Side::Upper ? 1.0 : -1.0;
    double left = entering.amount;
    for (bool isFirst = true; !control_.mustEnd(); isFirst = false) {
        equality_.setMembers(W_);
        W_ = equality_.members();
        EqualityProblem::Dependence dependence = equality_.dependenceOf(q);
        if (isFirst && dependence.own == 0.0 && isImplied(entering, dependence.r)) {
            isIgnored_[q] = true;
            return Pulled::Held;
        }
        const double toSide = dependence.own > 0.0 ? left / dependence.own : Infinity;
        double toZero = Infinity;
        std::size_t blocking = W_.size();
        for (std::size_t k = 0; k < W_.size(); ++k) {
            const double fall = sides_.sign(W_[k]) * sign * dependence.r[k];
            const double room = std::max(0.0, sides_.sign(W_[k]) * lambda_[W_[k]]);
            if (fall > 0.0 && room / fall < toZero) {
                toZero = room / fall;
                blocking = k;
            }
        }
        const double length = std::min(toSide, toZero);
        if (length == Infinity) {
            contradict(entering, std::move(dependence.r));
            return Pulled::Contradicted;
        }
        for (std::size_t k = 0; k < W_.size(); ++k) {
            lambda_[W_[k]] -= length * sign * dependence.r[k];
        }
        left -= length * dependence.own;
        if (toSide <= toZero) {
            return enter(entering);
        }
        ++steps_;
        release(W_[blocking]);
        W_.erase(W_.begin() + static_cast<std::ptrdiff_t>(blocking));
        control_.poll();
    }
    return Pulled::Stuck;
}

BlockDual::Pulled BlockDual::enter(const Violated& entering) {
    hold(entering);
    List wanted = W_;
    wanted.push_back(entering.constraint);
    solve(wanted);
    const bool isHeld = wanted.size() == W_.size() + 1;
    accept();
    return isHeld ? Pulled::Held : Pulled::Stuck;
}

// A constraint that depends on W has the value that the sides of W combine to, whatever x is, so
// the rounding of a point far out does not matter.
bool BlockDual::isImplied(const Violated& entering, const Vector& r) const {
    const std::size_t q = entering.constraint;
    const double sign = entering.side == Side::Upper ? 1.0 : -1.0;
    const double target = entering.side == Side::Upper ? sides_.upper(q) : sides_.lower(q);
    double value = 0.0;
    double scale = std::abs(target);
    for (std::size_t k = 0; k < W_.size(); ++k) {
        const double term = r[k] * sides_.target(W_[k]);
        value += term;
        scale += std::abs(term);
    }
    return sign * (value - target) <= ImpliedTolerance * scale;
}

// a_q = Wᵀr, and no multiplier has the wrong sign.
void BlockDual::contradict(const Violated& entering, Vector r) {
    equality_.refineDependence(entering.constraint, r);
    const double sign = entering.side == Side::Upper ? 1.0 : -1.0;
    List constraints = W_;
    Vector multipliers(r.size());
    std::transform(r.begin(), r.end(), multipliers.begin(),
                   [sign](double entry) { return -sign * entry; });
    constraints.push_back(entering.constraint);
    multipliers.push_back(sign);
    contradiction_ = pointOf(data_, constraints, multipliers, {});
}

void BlockDual::hold(const Violated& newcomer) {
    const std::size_t k = newcomer.constraint;
    sides_.hold(k, sides_.lower(k) == sides_.upper(k) ? Side::Both : newcomer.side);
}

}  // namespace activeset::frontend
