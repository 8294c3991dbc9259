// Iterative refinement of a null-space solution. See Higham, Accuracy and Stability of Numerical
// Algorithms, on fixed and extended precision refinement.
#include "frontend/loop/refinement.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "frontend/problem/submatrices.hpp"

namespace activeset::frontend {

namespace {

// The curvature of the reduced Hessian that counts as none: `flat` times the largest, or what the
// rounding of products with H may make of zero.
double flatCurvature(const Dense& reduced, const Dense& H, double flat) {
    constexpr double CurvatureRounding = 4.0 * std::numeric_limits<double>::epsilon();
    return std::max(flat * largestDiagonal(reduced),
                    CurvatureRounding * static_cast<double>(H.rows) * largestMagnitude(H.values));
}

std::vector<std::size_t> freeVariables(const ProblemData& data, const Constraints& held) {
    std::vector<std::size_t> result;
    for (std::size_t j = 0; j < data.n; ++j) {
        if (held[data.m + j] == Side::None) {
            result.push_back(j);
        }
    }
    return result;
}

// Equalities come first, then rows at lower sides: of rows that depend on one another those that
// come first are kept.
std::vector<std::size_t> heldRows(const ProblemData& data, const Constraints& held) {
    std::vector<std::size_t> result;
    for (const Side side : {Side::Both, Side::Lower, Side::Upper}) {
        for (std::size_t i = 0; i < data.m; ++i) {
            if (held[i] == side) {
                result.push_back(i);
            }
        }
    }
    return result;
}

}  // namespace

Refinement::Refinement(const ProblemData& data, const WorkingSet& set, double flat)
    : data_(data),
      set_(set),
      held_(Constraints::namedBy(data, set)),
      rows_(heldRows(data, held_)),
      free_(freeVariables(data, held_)),
      freeH_(data.quadratic ? hessianOf(data, free_) : Dense()),
      qr_(gradientsOf(data, rows_, free_)),
      basis_(data.quadratic ? qr_.nullSpace() : Dense()),
      cholesky_(reducedCholesky(flat)) {}

// The values at which the rows are held; they may have changed since the factors were formed.
Vector Refinement::sides() const {
    Vector result(rows_.size());
    std::transform(rows_.begin(), rows_.end(), result.begin(),
                   [this](std::size_t i) { return held_.target(i); });
    return result;
}

void Refinement::moveToBounds(Vector& x) const {
    for (std::size_t j = 0; j < data_.n; ++j) {
        if (held_[data_.m + j] != Side::None) {
            x[j] = held_.target(data_.m + j);
        }
    }
}

PivotedCholesky Refinement::reducedCholesky(double flat) const {
    if (!data_.quadratic) {
        return {Dense(), 0.0};
    }
    Dense reduced = transposedProduct(basis_, product(freeH_, basis_));
    const double negligible = flatCurvature(reduced, freeH_, flat);
    return {std::move(reduced), negligible};
}

Refinement::Residuals Refinement::residualsAt(const Point& point, const Vector& sides) const {
    Residuals result;
    const std::vector<Sum> gradient = gradientSums(data_, point.x, point.y);
    for (const std::size_t j : free_) {
        result.stationarity.push_back(-gradient[j].value);
        result.take(gradient[j].value, gradient[j].scale);
    }
    const std::vector<Sum> values = rowValues(data_, point.x);
    for (std::size_t i = 0; i < rows_.size(); ++i) {
        result.rows.push_back(sides[i] - values[rows_[i]].value);
        result.take(result.rows.back(), values[rows_[i]].scale + std::abs(sides[i]));
    }
    return result;
}

Point Refinement::correction(const Residuals& residuals) const {
    Point result{Vector(data_.n, 0.0), Vector(data_.m, 0.0), {}};
    const std::size_t count = free_.size();
    const std::size_t rank = qr_.rank();
    // First the part of the step that takes the rows to their sides.
    Vector step(std::max(count, rows_.size()), 0.0);
    for (std::size_t k = 0; k < rank; ++k) {
        step[k] = static_cast<double>(residuals.rows[qr_.pivot(k)]);
    }
    qr_.solveTransposed(step.data());
    qr_.apply(step.data());
    Vector force(count);
    for (std::size_t k = 0; k < count; ++k) {
        force[k] = static_cast<double>(residuals.stationarity[k]);
    }
    if (data_.quadratic) {
        const auto takeOff = [&](const Vector& moved) {
            for (std::size_t k = 0; k < count; ++k) {
                axpy(-moved[k], freeH_.column(k), force.data(), count);
            }
        };
        takeOff(step);
        Vector reduced(basis_.cols);
        for (std::size_t k = 0; k < basis_.cols; ++k) {
            reduced[k] = dot(basis_.column(k), force.data(), count);
        }
        cholesky_.solve(reduced.data());
        Vector along(count, 0.0);
        for (std::size_t k = 0; k < basis_.cols; ++k) {
            axpy(reduced[k], basis_.column(k), along.data(), count);
        }
        takeOff(along);
        axpy(1.0, along.data(), step.data(), count);
    }
    for (std::size_t k = 0; k < count; ++k) {
        result.x[free_[k]] = step[k];
    }
    qr_.applyTransposed(force.data());
    qr_.solve(force.data());
    for (std::size_t k = 0; k < rank; ++k) {
        result.y[rows_[qr_.pivot(k)]] = force[k];
    }
    return result;
}

Point Refinement::digitsBehind(const Point& point) const {
    return correction(residualsAt(point, sides()));
}

void Refinement::setBoundMultipliers(Point& point) const {
    const std::vector<Sum> gradient = gradientSums(data_, point.x, point.y);
    for (std::size_t j = 0; j < data_.n; ++j) {
        const bool isFree = held_[data_.m + j] == Side::None;
        point.z[j] = isFree ? 0.0 : -static_cast<double>(gradient[j].value);
    }
}

std::size_t Refinement::apply(Point& point, std::size_t most) const {
    // Multipliers that should be zero could go on to lose sixteen decimals a correction.
    constexpr double NegligibleShare = 1e-40;
    const Vector values = sides();
    moveToBounds(point.x);
    Vector y(data_.m, 0.0);
    for (std::size_t k = 0; k < qr_.rank(); ++k) {
        const std::size_t row = rows_[qr_.pivot(k)];
        y[row] = point.y[row];
    }
    point.y = std::move(y);
    point.z.assign(data_.n, 0.0);

    std::size_t corrections = 0;
    Residuals residuals = residualsAt(point, values);
    while (corrections < most && residuals.size > 0.0 && residuals.share > NegligibleShare) {
        Point trial = point;
        const Point step = correction(residuals);
        axpy(1.0, step.x.data(), trial.x.data(), data_.n);
        axpy(1.0, step.y.data(), trial.y.data(), data_.m);
        Residuals left = residualsAt(trial, values);
        if (!left.areLess(residuals, 1.0)) {
            break;
        }
        const bool isSlow = !left.areLess(residuals, 0.5);
        point = std::move(trial);
        residuals = std::move(left);
        ++corrections;
        if (isSlow) {
            break;
        }
    }
    setBoundMultipliers(point);
    return corrections;
}

}  // namespace activeset::frontend
