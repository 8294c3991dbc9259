// What sides beyond which a piece lies do to its problem.
#include "frontend/soft/piece.hpp"

#include <algorithm>
#include <cmath>

#include "frontend/algebra/dense.hpp"
#include "frontend/problem/extended_sums.hpp"

namespace activeset::frontend {

Piece::Piece(const ProblemData& data, const Penalties& penalties)
    : data_(data), penalties_(penalties), beyond_(data.m + data.n, Side::None) {}

void Piece::placeBy(const ViolatedSides& sides) {
    std::fill(beyond_.begin(), beyond_.end(), Side::None);
    const auto take = [this](const std::vector<std::size_t>& indices, std::size_t first,
                             std::size_t count, Side side) {
        for (const std::size_t index : indices) {
            if (index < count && penalties_.of(first + index, side).isSoft()) {
                beyond_[first + index] = side;
            }
        }
    };
    take(sides.rowsAtLower, 0, data_.m, Side::Lower);
    take(sides.rowsAtUpper, 0, data_.m, Side::Upper);
    take(sides.atLower, data_.m, data_.n, Side::Lower);
    take(sides.atUpper, data_.m, data_.n, Side::Upper);
}

void Piece::placeBy(const Vector& x) {
    const Constraints constraints(data_);
    const Vector values = constraints.values(x);
    for (const std::size_t k : penalties_.constraints()) {
        const Side side = constraints.beyond(k, values[k]);
        const bool isSoft = side != Side::None && penalties_.of(k, side).isSoft();
        beyond_[k] = isSoft ? side : Side::None;
    }
}

Problem Piece::problem() {
    c_ = data_.c;
    constant_ = data_.constant;
    turnSides();
    addCosts();
    return view();
}

Problem Piece::problemWithoutSoftSides() {
    hasOtherHessian_ = !curved_.empty();
    curved_.clear();
    H_.clear();
    c_ = data_.c;
    constant_ = data_.constant;
    rowLower_ = data_.rowLower;
    rowUpper_ = data_.rowUpper;
    lower_ = data_.lower;
    upper_ = data_.upper;
    for (const SoftSide& side : penalties_.softSides()) {
        const std::size_t k = side.constraint;
        const bool isRow = k < data_.m;
        if (side.side == Side::Lower) {
            (isRow ? rowLower_[k] : lower_[k - data_.m]) = -Infinity;
        } else {
            (isRow ? rowUpper_[k] : upper_[k - data_.m]) = Infinity;
        }
    }
    return view();
}

void Piece::turnSides() {
    rowLower_ = data_.rowLower;
    rowUpper_ = data_.rowUpper;
    lower_ = data_.lower;
    upper_ = data_.upper;
    for (const std::size_t k : penalties_.constraints()) {
        if (beyond_[k] == Side::None) {
            continue;
        }
        const bool isRow = k < data_.m;
        double& lower = isRow ? rowLower_[k] : lower_[k - data_.m];
        double& upper = isRow ? rowUpper_[k] : upper_[k - data_.m];
        if (beyond_[k] == Side::Upper) {
            lower = upper;
            upper = Infinity;
        } else {
            upper = lower;
            lower = -Infinity;
        }
    }
}

// With the sign of the side, 1 for an upper one at u: linear·(a·x − u) and the square.
void Piece::addCosts() {
    std::vector<std::pair<std::size_t, double>> curved;
    Vector row(data_.n);
    for (const std::size_t k : penalties_.constraints()) {
        if (beyond_[k] == Side::None) {
            continue;
        }
        const SidePenalty& penalty = penalties_.of(k, beyond_[k]);
        const double at = sideOf(data_, {k, beyond_[k]});
        const double slope = beyond_[k] == Side::Upper ? penalty.linear : -penalty.linear;
        const double linear = slope - penalty.quadratic * at;
        constant_ += (0.5 * penalty.quadratic * at - slope) * at;
        if (penalty.quadratic > 0.0) {
            curved.emplace_back(k, penalty.quadratic);
        }
        if (k >= data_.m) {
            c_[k - data_.m] += linear;
            continue;
        }
        writeRow(data_, k, row.data());
        axpy(linear, row.data(), c_.data(), data_.n);
    }
    hasOtherHessian_ = curved != curved_;
    if (!hasOtherHessian_) {
        return;
    }
    curved_ = std::move(curved);
    H_.clear();
    if (curved_.empty()) {
        return;
    }
    if (data_.quadratic) {
        H_ = data_.H.copy();
    } else {
        H_.assign(data_.n * data_.n, 0.0);
    }
    for (const auto& [k, quadratic] : curved_) {
        if (k >= data_.m) {
            H_[(k - data_.m) * (data_.n + 1)] += quadratic;
            continue;
        }
        // Each half by itself, and so that both are the same to the last bit.
        writeRow(data_, k, row.data());
        for (std::size_t j = 0; j < data_.n; ++j) {
            for (std::size_t i = 0; i < data_.n && row[j] != 0.0; ++i) {
                H_[j * data_.n + i] += quadratic * (row[i] * row[j]);
            }
        }
    }
}

Problem Piece::view() const {
    Problem problem = viewOf(data_);
    problem.c = c_;
    problem.rowLower = rowLower_;
    problem.rowUpper = rowUpper_;
    problem.lower = lower_;
    problem.upper = upper_;
    problem.constant = constant_;
    if (!H_.empty()) {
        problem.H = MatrixView(H_.data(), data_.n, data_.n);
    }
    return problem;
}

WorkingSet Piece::ofPiece(const WorkingSet& set) const {
    const Constraints held(data_, set);
    WorkingSet result;
    for (std::size_t k = 0; k < held.count(); ++k) {
        const bool isRow = k < data_.m;
        if (held[k] != Side::None) {
            // A side that was turned round is the lower one, if it was the upper one.
            const Side side = beyond_[k] == Side::None    ? held[k]
                              : beyond_[k] == Side::Upper ? Side::Lower
                                                          : Side::Upper;
            listOf(result, isRow, side).push_back(isRow ? k : k - data_.m);
        }
    }
    return result;
}

std::vector<Side> Piece::heldBy(const WorkingSet& set) const {
    std::vector<Side> held(beyond_.size(), Side::None);
    const auto take = [&](const std::vector<std::size_t>& indices, std::size_t first, Side side) {
        for (const std::size_t index : indices) {
            const std::size_t k = first + index;
            held[k] = beyond_[k] == Side::None ? side : beyond_[k];
        }
    };
    take(set.equalities, 0, Side::Both);
    take(set.rowsAtLower, 0, Side::Lower);
    take(set.rowsAtUpper, 0, Side::Upper);
    take(set.fixed, data_.m, Side::Both);
    take(set.atLower, data_.m, Side::Lower);
    take(set.atUpper, data_.m, Side::Upper);
    return held;
}

double Piece::excess(std::size_t k, const Vector& x) const {
    if (beyond_[k] == Side::None) {
        return 0.0;
    }
    auto value = Extended(k < data_.m ? 0.0 : x[k - data_.m]);
    for (std::size_t j = 0; j < data_.n && k < data_.m; ++j) {
        value += DoubleDouble::product(data_.columnOfA(j)[k], x[j]);
    }
    value -= sideOf(data_, {k, beyond_[k]});
    const auto over = static_cast<double>(value);
    return std::max(0.0, beyond_[k] == Side::Upper ? over : -over);
}

Point Piece::unfolded(Point point) const {
    for (const std::size_t k : penalties_.constraints()) {
        if (beyond_[k] == Side::None) {
            continue;
        }
        const SidePenalty& penalty = penalties_.of(k, beyond_[k]);
        const double price = penalty.linear + penalty.quadratic * excess(k, point.x);
        double& multiplier = k < data_.m ? point.y[k] : point.z[k - data_.m];
        multiplier += beyond_[k] == Side::Upper ? price : -price;
    }
    return point;
}

WorkingSet listed(const ProblemData& data,
                  const std::vector<Side>& held,
                  const std::vector<Side>& beyond) {
    WorkingSet set;
    for (std::size_t k = 0; k < held.size(); ++k) {
        const bool isRow = k < data.m;
        const std::size_t index = isRow ? k : k - data.m;
        if (beyond[k] != Side::None) {
            listOf(set.softViolated, isRow, beyond[k]).push_back(index);
        } else if (lowerOf(data, k) == upperOf(data, k)) {
            listOf(set, isRow, Side::Both).push_back(index);
        } else if (held[k] != Side::None) {
            listOf(set, isRow, held[k]).push_back(index);
        }
    }
    return set;
}

}  // namespace activeset::frontend
