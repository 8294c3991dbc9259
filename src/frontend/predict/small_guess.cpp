// Rounds of the primal-dual active-set iteration: see primal_dual_guess.cpp.
#include "frontend/predict/small_guess.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace activeset::frontend {

namespace {

// With fewer variables the dual method is as fast; the work of the factorisation has its place in
// that of Q and T.
constexpr std::size_t FewestVariables = 48;
constexpr std::size_t VariablesPerRow = 8;
constexpr std::size_t VariablesPerEquality = 3;
// What rounding makes of a value, in proportion to the largest terms.
constexpr double SideRounding = 1e-13;

}  // namespace

bool SmallGuess::fits(const SmallShape& shape) {
    return shape.n >= FewestVariables && shape.n <= SmallMemory::MostVariables &&
           shape.m <= shape.n / VariablesPerRow + shape.n / VariablesPerEquality;
}

bool SmallGuess::areRowsFew() const {
    const SmallShape& shape = m_.shape;
    std::size_t equalities = 0;
    for (std::size_t i = 0; i < shape.m; ++i) {
        equalities += m_.lower[i] == m_.upper[i] ? 1U : 0U;
    }
    return VariablesPerRow * (shape.m - equalities) <= shape.n &&
           VariablesPerEquality * equalities <= shape.n;
}

bool SmallGuess::isDiagonalPositive() const {
    for (std::size_t j = 0; j < m_.shape.n; ++j) {
        if (!(m_.data[j * (m_.shape.height() + 1)] > 0.0)) {
            return false;
        }
    }
    return true;
}

SmallGuess::End SmallGuess::minimise(const SmallExtent& extent, bool isOnlyWay, Control& control) {
    constexpr std::size_t Settling = 2;  // rounds whose exchanges say little
    constexpr std::size_t Patience = 4;  // rounds in which the exchanges get no fewer
    rounds_ = 0;
    hasDescended_ = areRowsFew() && isDiagonalPositive();
    if (!hasDescended_ || !(descend() || isOnlyWay) || !isClearlyConvex()) {
        return End::GivenUp;
    }
    nameSides();
    std::size_t fewest = std::numeric_limits<std::size_t>::max();
    std::size_t roundOfFewest = Settling;
    while (rounds_ < roundOfFewest + Patience) {
        control.poll();
        ++rounds_;
        listMembers();
        if (control.mustEnd() || !factoriseFree()) {
            return End::GivenUp;
        }
        const Rows rows = holdRows();
        if (rows == Rows::Dependent) {
            return End::GivenUp;
        }
        if (rows == Rows::Contradict) {
            return End::Contradiction;
        }
        solveRound();
        if (doMultipliersContradict()) {
            return End::Contradiction;
        }
        const std::size_t exchanges = exchange(extent);
        if (exchanges == 0) {
            writeMembers();
            return End::Settled;
        }
        if (rounds_ > Settling && exchanges < fewest) {
            fewest = exchanges;
            roundOfFewest = rounds_;
        }
    }
    return End::GivenUp;
}

// Minimises over one variable after the other, as if there were no rows. Whether so many sides hold
// that the dual method would take long to find them; where that is unlikely after the first sweep,
// it is the only one.
bool SmallGuess::descend() {
    constexpr int MoreSweeps = 2;
    const SmallShape& shape = m_.shape;
    const SmallBox box{m_.lower + shape.rows(), m_.upper + shape.rows()};
    std::fill_n(m_.x, shape.head(), 0.0);
    for (std::size_t j = 0; j < shape.n; ++j) {
        m_.x[j] = std::min(std::max(0.0, box.lower[j]), box.upper[j]);
        m_.u[j] = 1.0 / m_.data[j * (shape.height() + 1)];
    }
    formGradient();
    const auto sweep = [&] { m_.kernels.descend(m_.hessian(), box, m_.u, shape.n, m_.x, m_.g); };
    sweep();
    if (5 * held() < shape.n) {
        return false;
    }
    for (int k = 0; k < MoreSweeps; ++k) {
        sweep();
    }
    return 5 * held() >= 2 * shape.n;
}

// How many bounds and equalities hold.
std::size_t SmallGuess::held() const {
    const double* const lower = m_.lower + m_.shape.rows();
    const double* const upper = m_.upper + m_.shape.rows();
    std::size_t count = m_.equalities;
    for (std::size_t j = 0; j < m_.shape.n; ++j) {
        // Without branches, which nobody could foresee.
        const unsigned isLower = (m_.x[j] == lower[j] ? 1U : 0U) & (m_.g[j] > 0.0 ? 1U : 0U);
        const unsigned isUpper = (m_.x[j] == upper[j] ? 1U : 0U) & (m_.g[j] < 0.0 ? 1U : 0U);
        count += (isLower | isUpper) & (lower[j] < upper[j] ? 1U : 0U);
    }
    return count;
}

SmallGuess::Side SmallGuess::sideOf(std::size_t j) const {
    const double lower = m_.lower[m_.shape.rows() + j];
    const double upper = m_.upper[m_.shape.rows() + j];
    return lower == upper                      ? Side::Both
           : m_.x[j] == lower && m_.g[j] > 0.0 ? Side::Lower
           : m_.x[j] == upper && m_.g[j] < 0.0 ? Side::Upper
                                               : Side::None;
}

// Those that hold after the descent.
void SmallGuess::nameSides() {
    const SmallShape& shape = m_.shape;
    sides_.assign(shape.constraints(), Side::None);
    for (std::size_t i = 0; i < shape.m; ++i) {
        sides_[i] = m_.lower[i] == m_.upper[i] ? Side::Both : Side::None;
    }
    for (std::size_t j = 0; j < shape.n; ++j) {
        sides_[shape.rows() + j] = sideOf(j);
    }
}

void SmallGuess::list(WorkingSet& set) const {
    set.clear();
    for (std::size_t j = 0; hasDescended_ && rounds_ == 0 && j < m_.shape.n; ++j) {
        const Side side = sideOf(j);
        if (side == Side::Lower || side == Side::Upper) {
            (side == Side::Lower ? set.atLower : set.atUpper).push_back(j);
        }
    }
}

// Moves what is held to its bound, and all others to 0.
void SmallGuess::listMembers() {
    const SmallShape& shape = m_.shape;
    F_.resize(shape.n);
    held_.resize(shape.n);
    R_.clear();
    // Each number is written to both lists, and stays in one: nobody could foresee branches.
    std::size_t free = 0;
    for (std::size_t j = 0; j < shape.n; ++j) {
        const std::size_t i = shape.rows() + j;
        const bool isFree = sides_[i] == Side::None;
        F_[free] = held_[j - free] = j;
        free += isFree ? 1U : 0U;
        m_.x[j] = isFree ? 0.0 : targetOf(i);
    }
    F_.resize(free);
    held_.resize(shape.n - free);
    for (std::size_t i = 0; i < shape.m; ++i) {
        if (sides_[i] != Side::None) {
            m_.member[R_.size()] = static_cast<double>(i);
            R_.push_back(i);
        }
    }
}

// memory.g := H·x + c
void SmallGuess::formGradient() {
    std::copy_n(m_.c, m_.shape.head(), m_.g);
    if (m_.kernels.largest(m_.x, m_.shape.head()) > 0.0) {
        m_.kernels.addColumns(m_.hessian(), m_.x, m_.g);
    }
}

// memory.values := x in the place of the bounds, memory.u := Aᵀy, memory.g := H·x + c + Aᵀy.
void SmallGuess::solveRound() {
    const SmallShape& shape = m_.shape;
    formGradient();
    if (!R_.empty()) {
        m_.kernels.multiplyAdd(m_.rowsOfA(), m_.x, nullptr, m_.values);
    }
    for (std::size_t k = 0; k < F_.size(); ++k) {
        m_.step[k] = -m_.g[F_[k]];
    }
    for (std::size_t k = 0; k < R_.size(); ++k) {
        m_.lambda[k] = targetOf(R_[k]) - m_.values[R_[k]];
    }
    solve(m_.step, m_.lambda);
    std::fill_n(m_.w, shape.head(), 0.0);
    for (std::size_t k = 0; k < F_.size(); ++k) {
        m_.x[F_[k]] = m_.w[F_[k]] = m_.step[k];
    }
    m_.kernels.addColumns(m_.hessian(), m_.w, m_.g);
    if (!R_.empty()) {
        std::fill_n(m_.u, shape.head(), 0.0);
        m_.kernels.addRows(m_.rowsOfA(), m_.member, m_.lambda, R_.size(), shape.head(), m_.u);
        m_.kernels.addScaled(1.0, m_.u, m_.g, shape.head());
    }
    if (shape.m > 0) {
        m_.kernels.multiplyAdd(m_.rowsOfA(), m_.x, nullptr, m_.values);
    }
    std::copy_n(m_.x, shape.head(), m_.values + shape.rows());
}

SmallGuess::Side SmallGuess::beyond(std::size_t i, double value, double slack) const {
    return value > m_.upper[i] + slack   ? Side::Upper
           : value < m_.lower[i] - slack ? Side::Lower
                                         : Side::None;
}

// Exchanges all that is wrong. Returns how many constraints come, go or change sides.
std::size_t SmallGuess::exchange(const SmallExtent& extent) {
    const SmallShape& shape = m_.shape;
    const double slack = SideRounding * m_.kernels.largest(m_.x, shape.head());
    std::size_t changes = 0;
    const auto set = [&](std::size_t i, Side side) {
        changes += side != sides_[i] ? 1U : 0U;
        sides_[i] = side;
    };
    for (std::size_t k = 0; k < R_.size(); ++k) {
        const Side side = sides_[R_[k]];
        if ((side == Side::Lower && !(m_.lambda[k] < 0.0)) ||
            (side == Side::Upper && !(m_.lambda[k] > 0.0))) {
            set(R_[k], Side::None);
        }
    }
    for (std::size_t i = 0; i < shape.m; ++i) {
        const bool isHeld = std::binary_search(R_.begin(), R_.end(), i);
        if (!isHeld) {
            set(i, beyond(i, m_.values[i], slack * extent.A));
        }
    }
    for (std::size_t j = 0; j < shape.n; ++j) {
        const std::size_t i = shape.rows() + j;
        const Side side = sides_[i];
        if (side == Side::None) {
            set(i, beyond(i, m_.x[j], slack));
        } else if ((side == Side::Lower && m_.g[j] < 0.0) ||
                   (side == Side::Upper && m_.g[j] > 0.0)) {
            set(i, Side::None);
        }
    }
    return changes;
}

// As the dual method leaves them.
void SmallGuess::writeMembers() {
    const std::size_t first = m_.shape.rows();
    std::fill_n(m_.inverseNorm, m_.shape.constraints(), 1.0);
    const auto write = [&](std::size_t k, std::size_t i, double multiplier) {
        m_.member[k] = static_cast<double>(i);
        m_.sign[k] = sides_[i] == Side::Lower ? -1.0 : 1.0;
        m_.isEquality[k] = sides_[i] == Side::Both ? 1.0 : 0.0;
        m_.lambda[k] = m_.sign[k] * multiplier;
    };
    for (std::size_t k = 0; k < R_.size(); ++k) {
        write(k, R_[k], m_.lambda[k]);
    }
    for (std::size_t k = 0; k < held_.size(); ++k) {
        write(R_.size() + k, first + held_[k], -m_.g[held_[k]]);
    }
}

}  // namespace activeset::frontend
