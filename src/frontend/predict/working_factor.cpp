// Updates of the factor of a Schur complement.
#include "frontend/predict/working_factor.hpp"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

#include "frontend/algebra/dense_views.hpp"
#include "host/lapack.hpp"

namespace activeset::frontend {

namespace {

// If no more than this part of a column's squared length is left beside the others, the difference
// that tells so has lost too many digits.
constexpr double DoubtfulPivot = 1e-10;

}  // namespace

void WorkingFactor::setMembers(const List& wanted) {
    keepOnly(wanted);
    List newcomers;
    std::copy_if(wanted.begin(), wanted.end(), std::back_inserter(newcomers),
                 [this](std::size_t k) { return !isMember_[k]; });
    append(newcomers);
}

void WorkingFactor::keepOnly(const List& wanted) {
    // A factorisation works by blocks; rotations take one column after the other.
    constexpr std::size_t ColumnsPerRotation = 24;
    std::vector<bool> isWanted(isMember_.size(), false);
    for (const std::size_t k : wanted) {
        isWanted[k] = true;
    }
    List leaving;  // places
    List behind;   // the first of them, and staying
    for (std::size_t k = 0; k < members_.size(); ++k) {
        if (!isWanted[members_[k]]) {
            leaving.push_back(k);
        } else if (!leaving.empty()) {
            behind.push_back(members_[k]);
        }
    }
    if (leaving.empty()) {
        return;
    }
    if (ColumnsPerRotation * (leaving.size() - 1) <= behind.size() || isDoubtful()) {
        for (std::size_t k = leaving.size(); k-- > 0;) {
            remove(leaving[k]);
        }
        return;
    }
    for (std::size_t k = leaving.front(); k < members_.size(); ++k) {
        isMember_[members_[k]] = false;
    }
    members_.resize(leaving.front());
    append(behind);
}

// Without column k the rest of R has a subdiagonal, which rotations of neighbouring rows clear.
// Each column is first turned by the rotations of the columns before it.
void WorkingFactor::remove(std::size_t k) {
    isMember_[members_[k]] = false;
    members_.erase(members_.begin() + static_cast<std::ptrdiff_t>(k));
    const std::size_t last = members_.size();
    std::vector<blas::Rotation> rotations;
    rotations.reserve(last - k);
    for (std::size_t j = k; j < last; ++j) {
        double* target = R_.column(j);
        std::copy_n(R_.column(j + 1), j + 2, target);
        for (std::size_t i = k; i < j; ++i) {
            const blas::Rotation& rotation = rotations[i - k];
            const double above = rotation.c * target[i] + rotation.s * target[i + 1];
            target[i + 1] = rotation.c * target[i + 1] - rotation.s * target[i];
            target[i] = above;
        }
        rotations.push_back(blas::rotg(target[j], target[j + 1]));
        target[j] = rotations.back().r;
    }
}

void WorkingFactor::grow(std::size_t order) {
    if (order <= R_.rows) {
        return;
    }
    Dense grown(std::max(order, 2 * R_.rows), std::max(order, 2 * R_.rows));
    for (std::size_t j = 0; j < members_.size(); ++j) {
        std::copy_n(R_.column(j), j + 1, grown.column(j));
    }
    R_ = std::move(grown);
}

// Appends newcomers together up to one that nearly depends on those before it, then that one alone,
// and so on.
void WorkingFactor::append(const List& newcomers) {
    const std::size_t before = members_.size();
    grow(before + newcomers.size());
    members_.reserve(before + newcomers.size());
    for (std::size_t next = 0; next < newcomers.size();) {
        const std::size_t done = appendAtOnce(newcomers, next);
        next += done;
        if (next < newcomers.size()) {
            appendAlone(newcomers[next++]);
        }
    }
    for (std::size_t k = before; k < members_.size(); ++k) {
        isMember_[members_[k]] = true;
    }
}

// Appends the newcomers from place `first` on: R₁₂ = R⁻ᵀS₁₂, R₂₂ᵀR₂₂ = S₂₂ − R₁₂ᵀR₁₂. Returns how
// many of them, in their order, have joined.
std::size_t WorkingFactor::appendAtOnce(const List& newcomers, std::size_t first) {
    const std::size_t before = members_.size();
    const std::size_t added = newcomers.size() - first;
    for (std::size_t j = 0; j < added; ++j) {
        double* column = R_.column(before + j);
        for (std::size_t i = 0; i < before; ++i) {
            column[i] = columns_.inner(members_[i], newcomers[first + j]);
        }
        for (std::size_t i = 0; i <= j; ++i) {
            column[before + i] = columns_.inner(newcomers[first + i], newcomers[first + j]);
        }
    }
    const Block beside(R_.column(before), before, added, R_.rows);
    const Block corner(R_.column(before) + before, added, added, R_.rows);
    lapack::trtrsTransposed(leadingBlock(R_, before), beside);
    blas::subtractGram(beside, corner);
    const Int info = lapack::potrf(corner);
    std::size_t done = info > 0 ? static_cast<std::size_t>(info - 1) : added;
    for (std::size_t j = 0; j < done; ++j) {
        const double pivot = R_(before + j, before + j);
        const std::size_t newcomer = newcomers[first + j];
        if (!(pivot * pivot > DoubtfulPivot * columns_.inner(newcomer, newcomer))) {
            done = j;
        }
    }
    const auto begin = newcomers.begin() + static_cast<std::ptrdiff_t>(first);
    members_.insert(members_.end(), begin, begin + static_cast<std::ptrdiff_t>(done));
    return done;
}

void WorkingFactor::appendAlone(std::size_t newcomer) {
    const Projection projection = projectionOf(newcomer);
    if (projection.own > 0.0) {
        const std::size_t k = members_.size();
        std::copy(projection.u.begin(), projection.u.end(), R_.column(k));
        R_(k, k) = std::sqrt(projection.own);
        members_.push_back(newcomer);
    }
}

// Where the Schur complement cancels, projects by the columns themselves, and once more to take off
// what rounding has left: as good as an orthogonal factorisation.
WorkingFactor::Projection WorkingFactor::projectionOf(std::size_t q) const {
    constexpr double DependentProjection = 1e-16;
    constexpr int Passes = 2;
    const std::size_t k = members_.size();
    const double whole = columns_.inner(q, q);
    Projection result{Vector(k), whole};
    for (std::size_t i = 0; i < k; ++i) {
        result.u[i] = columns_.inner(members_[i], q);
    }
    blas::trsvUpper(Op::Transpose, leadingBlock(R_, k), result.u.data());
    result.own -= dot(result.u.data(), result.u.data(), k);
    if (result.own > DoubtfulPivot * whole) {
        return result;
    }
    Vector rest = columns_.columnOf(q);
    Vector change = result.u;
    for (int pass = 0; pass <= Passes; ++pass) {
        if (pass > 0) {
            columns_.products(members_, rest.data(), change.data());
            blas::trsvUpper(Op::Transpose, leadingBlock(R_, k), change.data());
            axpy(1.0, change.data(), result.u.data(), k);
        }
        solveUpper(change.data());
        columns_.subtract(members_, change.data(), rest.data());
    }
    result.own = dot(rest.data(), rest.data(), rest.size());
    if (!(result.own > DependentProjection * whole)) {
        result.own = 0.0;
    }
    return result;
}

void WorkingFactor::solveUpper(double* u) const {
    blas::trsvUpper(Op::None, leadingBlock(R_, members_.size()), u);
}

bool WorkingFactor::isDoubtful() const {
    constexpr double LostDigits = 1e-7;
    for (std::size_t k = 0; k < members_.size(); ++k) {
        if (R_(k, k) * R_(k, k) <= LostDigits * columns_.inner(members_[k], members_[k])) {
            return true;
        }
    }
    return false;
}

void WorkingFactor::solve(double* v) const {
    blas::trsvUpper(Op::Transpose, leadingBlock(R_, members_.size()), v);
    solveUpper(v);
}

}  // namespace activeset::frontend
