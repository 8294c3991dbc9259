// Sums of a fit in extended precision, and the bound for the error of its objective.
#include "frontend/fit/fit_judgement.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "frontend/problem/extended_sums.hpp"
#include "frontend/proof/certificate.hpp"
#include "frontend/proof/sides_sum.hpp"
#include "frontend/proof/units.hpp"

namespace activeset::frontend {

namespace {

/// Room for sums as the kernels write them.
struct Columns {
    explicit Columns(std::size_t count) : value(count, 0.0), rest(count, 0.0), scale(count, 0.0) {}

    [[nodiscard]] SumsView view() { return {value.data(), rest.data(), scale.data()}; }
    [[nodiscard]] Extended sum(std::size_t k) const { return {value[k], rest[k]}; }

    Vector value;
    Vector rest;
    Vector scale;
};

Columns transposedProduct(const Dense& R, const double* y) {
    Columns sums(R.cols);
    exactTransposedProduct({R.values.data(), R.rows, R.cols, R.rows}, y, sums.view());
    return sums;
}

/// ρ = R·x − s; the scale holds the sizes of its terms.
Columns exactResidualOf(const Fit& fit, const Vector& x) {
    Columns sums(fit.R.rows);
    exactProduct({fit.R.values.data(), fit.R.rows, fit.R.cols, fit.R.rows}, x.data(), sums.view());
    for (std::size_t i = 0; i < fit.s.size(); ++i) {
        const Extended difference = sums.sum(i) - fit.s[i];
        sums.value[i] = difference.value();
        sums.rest[i] = difference.rest();
        sums.scale[i] += std::abs(fit.s[i]);
    }
    return sums;
}

/// Rᵀρ + Aᵀy, the sizes of the terms multiplied out.
std::vector<Sum> forcesOf(const Fit& fit,
                          const ProblemData& constraints,
                          const Columns& residual,
                          const Vector& y) {
    const Columns large = transposedProduct(fit.R, residual.value.data());
    const Columns small = transposedProduct(fit.R, residual.rest.data());
    const Columns sizes = transposedProduct(fit.R, residual.scale.data());
    std::vector<Sum> forces(fit.R.cols);
    for (std::size_t j = 0; j < forces.size(); ++j) {
        forces[j] = {large.sum(j) + small.sum(j), sizes.scale[j]};
    }
    if (constraints.m != 0) {
        addTransposedProduct(forces, constraints, y);
    }
    return forces;
}

/// Sets z where x lies at a bound that may bear it and adds it to the forces.
void setBoundMultipliers(const ProblemData& constraints, Point& point, std::vector<Sum>& forces) {
    for (std::size_t j = 0; j < constraints.n; ++j) {
        const double wanted = -static_cast<double>(forces[j].value);
        const double side = wanted > 0.0 ? constraints.upper[j] : constraints.lower[j];
        point.z[j] = point.x[j] == side ? wanted : 0.0;
        forces[j].value += point.z[j];
    }
}

Residual gradientResidual(const std::vector<Sum>& forces) {
    double unit = 0.0;
    for (const Sum& force : forces) {
        unit = std::max(unit, force.scale);
    }
    unit = unit > 0.0 ? std::min(unit, 1.0) : 1.0;
    Residual worst;
    for (const Sum& force : forces) {
        const double miss = magnitude(force.value);
        worst.absolute = std::max(worst.absolute, miss);
        worst.relative = std::max(worst.relative, miss / std::max(unit, force.scale));
    }
    return worst;
}

/// A pivot of T up to this, times rows + columns, in proportion to its column, is rounding.
constexpr double RoundingOfPivot = std::numeric_limits<double>::epsilon();

/// True if T is square, and none of its columns depends on the others.
bool isRegular(const Dense& T, std::size_t rows) {
    if (T.rows != T.cols || T.rows == 0) {
        return false;
    }
    const double rounding = RoundingOfPivot * static_cast<double>(rows + T.cols);
    for (std::size_t j = 0; j < T.cols; ++j) {
        const double length = std::sqrt(dot(T.column(j), T.column(j), j + 1));
        if (!(std::abs(T(j, j)) > rounding * length)) {
            return false;
        }
    }
    return true;
}

/// ½‖δ‖² for the smallest δ with Rᵀδ = −g: ‖δ‖ = ‖T⁻ᵀg‖. If columns of R depend on others, there
/// may be no such δ; then Σ |g_j|·size.
double errorOfGradient(const Fit& fit, const std::vector<Sum>& forces, double size) {
    Vector g(forces.size());
    std::ranges::transform(forces, g.begin(),
                           [](const Sum& force) { return static_cast<double>(force.value); });
    if (isRegular(fit.T, fit.R.rows)) {
        solveUpperTransposed(fit.T, g.data(), 1);
        return 0.5 * dot(g.data(), g.data(), g.size());
    }
    double sum = 0.0;
    for (const double entry : g) {
        sum += std::abs(entry);
    }
    return sum * size;
}

Slackness slacknessOf(const ProblemData& constraints, const Point& point) {
    Slackness slack;
    const std::vector<Sum> rows =
        constraints.m == 0 ? std::vector<Sum>() : rowValues(constraints, point.x);
    for (std::size_t i = 0; i < constraints.m; ++i) {
        slack.add(point.y[i], rows[i], constraints.n, constraints.rowLower[i],
                  constraints.rowUpper[i]);
    }
    for (std::size_t j = 0; j < constraints.n; ++j) {
        slack.add(point.z[j], {point.x[j], 0.0}, 0, constraints.lower[j], constraints.upper[j]);
    }
    return slack;
}

}  // namespace

FitJudgement judge(const Fit& fit, const ProblemData& constraints, Point& point) {
    FitJudgement judgement;
    project(point.y, constraints.rowLower, constraints.rowUpper);
    const Columns residual = exactResidualOf(fit, point.x);
    Extended squares = 0;
    Extended given = 0;
    double rounding = 0.0;
    for (std::size_t i = 0; i < fit.s.size(); ++i) {
        squares += residual.sum(i) * residual.sum(i);
        given += Extended::product(fit.s[i], fit.s[i]);
        rounding +=
            boundOfRounding(fit.R.cols + 1, residual.scale[i]) * std::abs(residual.value[i]);
    }
    const Extended half = squares * 0.5;
    judgement.objective = static_cast<double>(half);

    std::vector<Sum> forces = forcesOf(fit, constraints, residual, point.y);
    setBoundMultipliers(constraints, point, forces);
    const Slackness slack = slacknessOf(constraints, point);
    Extended along = 0;  // xᵀ of the gradient, by which the dual objective falls short
    double check = 0.0;  // not finite where any of the sums is not
    for (std::size_t j = 0; j < forces.size(); ++j) {
        along += forces[j].value * point.x[j];
        check += forces[j].scale;
    }
    const double gap = magnitude(slack.value + along);
    if (!std::isfinite(check) || !std::isfinite(gap) || !std::isfinite(judgement.objective)) {
        return judgement;
    }
    const Units units(constraints, point.x);
    const double largestX = largestMagnitude(point.x);
    const double size = std::max(
        {magnitude(half), magnitude(half - slack.value), std::min(1.0, 0.5 * magnitude(given))});
    const double error =
        magnitude(slack.value) + slack.rounding + rounding +
        errorOfGradient(fit, forces, largestX > 0.0 ? largestX : std::min(1.0, units.variable));
    judgement.certificate.primal = violation(constraints, point.x);
    judgement.certificate.dual = gradientResidual(forces);
    judgement.certificate.gap = {gap, error == 0.0 ? 0.0 : error / size};
    return judgement;
}

}  // namespace activeset::frontend
