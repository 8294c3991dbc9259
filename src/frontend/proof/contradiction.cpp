// Iterative refinement of Farkas multipliers, each kept as a sum of doubles.
#include "frontend/proof/contradiction.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "frontend/algebra/dense.hpp"
#include "frontend/algebra/pivoted_qr.hpp"
#include "frontend/problem/submatrices.hpp"
#include "frontend/proof/rounded_digits.hpp"
#include "frontend/proof/sides_sum.hpp"

namespace activeset::frontend {

namespace {

constexpr int MostSteps = 3;

class Contradiction {
public:
    Contradiction(const ProblemData& data, Vector y, double margin)
        : data_(data), y_(std::move(y)) {
        constexpr double NegligibleShare = 1e-13;
        const double negligible = NegligibleShare * largestMagnitude(y_);
        project(y_, data.rowLower, data.rowUpper);
        for (std::size_t i = 0; i < data.m; ++i) {
            if (std::abs(y_[i]) > negligible) {
                rows_.push_back(i);
                apart_ += margin * std::abs(y_[i]);
            } else {
                y_[i] = 0.0;
            }
        }
        add(y_);
    }

    /// Corrects y so that Aᵀy is zero where it nearly is, or no bound takes it up. False if that is
    /// no matter of digits.
    [[nodiscard]] bool refine();
    /// No point with Σ|x_j| below it is feasible.
    [[nodiscard]] double radius() const;
    /// Whether rounding of the rows' entries explains what is left of Aᵀy.
    [[nodiscard]] bool isRounding() const;

private:
    /// The bound that takes up what Aᵀy has at j.
    [[nodiscard]] double boundOf(std::size_t j) const {
        return sums_[j].value > 0 ? data_.lower[j] : data_.upper[j];
    }
    /// Whether that is a bound and Aᵀy clearly not zero. Bounds far out make much of rounding.
    [[nodiscard]] bool isTakenUp(std::size_t j) const {
        constexpr double NearlyZero = 64.0 * std::numeric_limits<double>::epsilon();
        return magnitude(sums_[j].value) > NearlyZero * sums_[j].scale &&
               std::abs(boundOf(j)) < Infinity;
    }
    void add(const Vector& step);

    const ProblemData& data_;
    Vector y_;                       // the first digits, but for those of rounding
    std::vector<std::size_t> rows_;  // where it is not zero
    double apart_ = 0.0;             // what the margin adds to the weighed sides
    std::vector<Sum> sums_ = std::vector<Sum>(data_.n);  // Aᵀy with all digits
    Sum sides_;
};

bool Contradiction::refine() {
    constexpr double LargestStep = 1e-6;
    std::vector<std::size_t> left;
    Vector force;
    for (std::size_t j = 0; j < data_.n; ++j) {
        if (sums_[j].value != 0.0 && !isTakenUp(j)) {
            left.push_back(j);
            force.push_back(-static_cast<double>(sums_[j].value));
        }
    }
    if (left.empty()) {
        return false;
    }
    force.resize(std::max(left.size(), rows_.size()));
    const PivotedQr qr(gradientsOf(data_, rows_, left));
    qr.applyTransposed(force.data());
    qr.solve(force.data());
    Vector step(data_.m, 0.0);
    bool isShort = true;
    for (std::size_t k = 0; k < qr.rank(); ++k) {
        const std::size_t i = rows_[qr.pivot(k)];
        step[i] = force[k];
        isShort = isShort && std::abs(step[i]) <= LargestStep * std::abs(y_[i]);
    }
    if (isShort) {
        add(step);
    }
    return isShort;
}

void Contradiction::add(const Vector& step) {
    addTransposedProduct(sums_, data_, step);
    for (const std::size_t i : rows_) {
        sides_.add(Extended(step[i]) * (y_[i] > 0.0 ? data_.rowUpper[i] : data_.rowLower[i]));
    }
}

double Contradiction::radius() const {
    constexpr std::size_t Parts = MostSteps + 1;  // of each multiplier
    Sum value = sides_;
    double unbounded = 0.0;
    double taken = 0.0;
    for (std::size_t j = 0; j < data_.n; ++j) {
        const double rounding = roundingOf(sums_[j], Parts * data_.m);
        const double farthest = std::max(std::abs(data_.lower[j]), std::abs(data_.upper[j]));
        if (isTakenUp(j)) {
            value.add(-sums_[j].value * boundOf(j));
        }
        if (isTakenUp(j) && farthest < Infinity) {
            taken += rounding * farthest;
        } else {
            const double left = isTakenUp(j) ? 0.0 : magnitude(sums_[j].value);
            unbounded = std::max(unbounded, left + rounding);
        }
    }
    const double slack = -static_cast<double>(value.value) - apart_ - taken -
                         roundingOf(value, Parts * (data_.n + data_.m));
    return !(slack > 0.0) ? 0.0 : unbounded > 0.0 ? slack / unbounded : Infinity;
}

bool Contradiction::isRounding() const {
    constexpr double RoundedEntries = 4.0 * std::numeric_limits<double>::epsilon();
    bool areAnyRounded = false;
    for (std::size_t j = 0; j < data_.n; ++j) {
        if (sums_[j].value == 0.0 || isTakenUp(j)) {
            continue;
        }
        if (magnitude(sums_[j].value) > RoundedEntries * sums_[j].scale) {
            return false;
        }
        areAnyRounded = areAnyRounded || std::ranges::any_of(rows_, [&](std::size_t i) {
                            return looksRounded(data_.columnOfA(j)[i]);
                        });
    }
    return areAnyRounded;
}

}  // namespace

bool doContradict(const ProblemData& data, Vector y, double reach, double margin) {
    Contradiction contradiction(data, std::move(y), margin);
    bool areFar = contradiction.radius() >= reach;
    for (int step = 0; step < MostSteps && !areFar && contradiction.refine(); ++step) {
        areFar = contradiction.radius() >= reach;
    }
    return areFar || (contradiction.radius() > 0.0 && contradiction.isRounding());
}

}  // namespace activeset::frontend
