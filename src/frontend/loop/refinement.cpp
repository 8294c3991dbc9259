// Iterative refinement of a null-space solution. See Higham, Accuracy and Stability of Numerical
// Algorithms, on fixed and extended precision refinement.
#include "frontend/loop/refinement.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace activeset::frontend {

namespace {

// Curvature in the reduced Hessian that counts as none: this part of the largest, and what rounding
// of a product with H makes of none.
double flatCurvature(const Dense& reduced, const Dense& H, double flat) {
    constexpr double CurvatureRounding = 4.0 * std::numeric_limits<double>::epsilon();
    return std::max(flat * largestDiagonal(reduced),
                    CurvatureRounding * static_cast<double>(H.rows) * largestMagnitude(H.values));
}

std::vector<std::size_t> freeVariables(const std::vector<bool>& isFixed) {
    std::vector<std::size_t> result;
    for (std::size_t j = 0; j < isFixed.size(); ++j) {
        if (!isFixed[j]) {
            result.push_back(j);
        }
    }
    return result;
}

std::vector<bool> fixedVariables(const ProblemData& data, const WorkingSet& set) {
    std::vector<bool> result(data.n, false);
    for (const auto* list : {&set.atLower, &set.atUpper, &set.fixed}) {
        for (const std::size_t j : *list) {
            result[j] = true;
        }
    }
    return result;
}

std::vector<std::size_t> rowsOf(const WorkingSet& set) {
    std::vector<std::size_t> rows = set.equalities;
    rows.insert(rows.end(), set.rowsAtLower.begin(), set.rowsAtLower.end());
    rows.insert(rows.end(), set.rowsAtUpper.begin(), set.rowsAtUpper.end());
    return rows;
}

Dense hessianOf(const ProblemData& data, const std::vector<std::size_t>& variables) {
    if (!data.quadratic) {
        return {};
    }
    Dense result(variables.size(), variables.size());
    for (std::size_t j = 0; j < variables.size(); ++j) {
        for (std::size_t i = 0; i < variables.size(); ++i) {
            result(i, j) = data.columnOfH(variables[j])[variables[i]];
        }
    }
    return result;
}

}  // namespace

Refinement::Refinement(const ProblemData& data, const WorkingSet& set, double flat)
    : data_(data),
      set_(set),
      rows_(rowsOf(set)),
      isFixed_(fixedVariables(data, set)),
      free_(freeVariables(isFixed_)),
      freeH_(hessianOf(data, free_)),
      qr_(rowsOfFreeVariables()),
      basis_(data.quadratic ? qr_.nullSpace() : Dense()),
      cholesky_(reducedCholesky(flat)) {}

// The values that the members of the set are to have; they may have changed since the factors were
// formed.
Vector Refinement::sides() const {
    Vector result;
    const auto add = [&](const std::vector<std::size_t>& members, const Vector& sides) {
        for (const std::size_t i : members) {
            result.push_back(sides[i]);
        }
    };
    add(set_.equalities, data_.rowLower);
    add(set_.rowsAtLower, data_.rowLower);
    add(set_.rowsAtUpper, data_.rowUpper);
    return result;
}

void Refinement::moveToBounds(Vector& x) const {
    const auto move = [&](const std::vector<std::size_t>& members, const Vector& bounds) {
        for (const std::size_t j : members) {
            x[j] = bounds[j];
        }
    };
    move(set_.atLower, data_.lower);
    move(set_.fixed, data_.lower);
    move(set_.atUpper, data_.upper);
}

Dense Refinement::rowsOfFreeVariables() const {
    Dense result(free_.size(), rows_.size());
    for (std::size_t k = 0; k < free_.size(); ++k) {
        const double* column = data_.columnOfA(free_[k]);
        for (std::size_t i = 0; i < rows_.size(); ++i) {
            result(k, i) = column[rows_[i]];
        }
    }
    return result;
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
    // The part of the step that the rows ask for.
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
        point.z[j] = isFixed_[j] ? -static_cast<double>(gradient[j].value) : 0.0;
    }
}

std::size_t Refinement::apply(Point& point, std::size_t most) const {
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
    while (corrections < most && residuals.size > 0.0) {
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
