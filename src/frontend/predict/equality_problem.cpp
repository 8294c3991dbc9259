// Range-space solution of an equality-constrained problem, and its refinement.
#include "frontend/predict/equality_problem.hpp"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

#include "frontend/algebra/dense_views.hpp"
#include "frontend/problem/extended_sums.hpp"
#include "host/lapack.hpp"

namespace activeset::frontend {

EqualityProblem::EqualityProblem(Subproblem& problem)
    : data_(problem.data()),
      factor_(problem.factor()),
      columns_(problem.columns()),
      working_(problem.working()),
      t_(data_.n),
      products_(data_.m + data_.n, 0.0) {
    std::transform(data_.c.begin(), data_.c.end(), t_.begin(), [](double entry) { return -entry; });
    blas::trsvLower(Op::None, viewOf(factor_), t_.data());
    takeProducts(members());
}

void EqualityProblem::takeProducts(const List& constraints) {
    Vector values(constraints.size());
    columns_.products(constraints, t_.data(), values.data());
    for (std::size_t k = 0; k < constraints.size(); ++k) {
        products_[constraints[k]] = values[k];
    }
}

void EqualityProblem::setMembers(const List& wanted) {
    columns_.name(wanted, members());
    List newcomers = members();
    std::sort(newcomers.begin(), newcomers.end());
    const List before = std::move(newcomers);
    working_.setMembers(wanted);
    newcomers = {};
    std::copy_if(
        members().begin(), members().end(), std::back_inserter(newcomers),
        [&before](std::size_t k) { return !std::binary_search(before.begin(), before.end(), k); });
    takeProducts(newcomers);
}

void EqualityProblem::solve(const Constraints& sides, Vector& multipliers) const {
    constexpr int Corrections = 2;
    multipliers.resize(members().size());
    for (std::size_t k = 0; k < multipliers.size(); ++k) {
        multipliers[k] = products_[members()[k]] - sides.target(members()[k]);
    }
    working_.solve(multipliers.data());
    if (!working_.isDoubtful()) {
        return;
    }
    // S has lost digits that G still has: corrected seminormal equations (Björck 1987).
    for (int pass = 0; pass < Corrections; ++pass) {
        Vector rest = valuesOf(members(), multipliers);
        for (std::size_t k = 0; k < rest.size(); ++k) {
            rest[k] -= sides.target(members()[k]);
        }
        working_.solve(rest.data());
        axpy(1.0, rest.data(), multipliers.data(), rest.size());
    }
}

Vector EqualityProblem::valuesOf(const List& constraints, const Vector& multipliers) const {
    Vector values(constraints.size());
    if (!constraints.empty()) {
        Vector image = t_;
        columns_.subtract(members(), multipliers.data(), image.data());
        columns_.products(constraints, image.data(), values.data());
    }
    return values;
}

Vector EqualityProblem::minimiser(const Constraints& sides, const Vector& multipliers) const {
    Vector x = t_;
    columns_.subtract(members(), multipliers.data(), x.data());
    blas::trsvLower(Op::Transpose, viewOf(factor_), x.data());
    setBounds(sides, x);
    return x;
}

void EqualityProblem::setBounds(const Constraints& sides, Vector& x) const {
    for (const std::size_t k : members()) {
        if (!sides.isRow(k)) {
            x[k - data_.m] = sides.target(k);
        }
    }
}

void EqualityProblem::moveToSides(const Constraints& sides,
                                  const Vector& values,
                                  Vector& x,
                                  Vector& multipliers) const {
    Vector misses(members().size());
    for (std::size_t k = 0; k < misses.size(); ++k) {
        misses[k] = sides.target(members()[k]) - values[members()[k]];
    }
    correct(x, multipliers, Vector(data_.n, 0.0), misses);
    setBounds(sides, x);
}

// Given r₁ = −(H·x + c + Wᵀλ) and r₂ = w − W·x: with d = L⁻¹r₁, S·Δλ = Gᵀd − r₂ and
// Δx = L⁻ᵀ(d − GΔλ).
void EqualityProblem::correct(Vector& x,
                              Vector& multipliers,
                              Vector gradient,
                              const Vector& misses) const {
    blas::trsvLower(Op::None, viewOf(factor_), gradient.data());
    Vector change(misses.size());
    columns_.products(members(), gradient.data(), change.data());
    axpy(-1.0, misses.data(), change.data(), change.size());
    working_.solve(change.data());
    columns_.subtract(members(), change.data(), gradient.data());
    blas::trsvLower(Op::Transpose, viewOf(factor_), gradient.data());
    axpy(1.0, gradient.data(), x.data(), x.size());
    axpy(1.0, change.data(), multipliers.data(), change.size());
}

void EqualityProblem::refine(const Constraints& sides, Vector& x, Vector& multipliers) const {
    constexpr int MostCorrections = 4;
    setBounds(sides, x);
    double size = Infinity;
    for (int k = 0; k < MostCorrections && size > SmallResidual; ++k) {
        const Point at = pointOf(data_, members(), multipliers, x);
        const std::vector<Sum> gradient = gradientSums(data_, at.x, at.y);
        const std::vector<Sum> rows = rowValues(data_, at.x);
        size = 0.0;
        Vector force(data_.n);
        for (std::size_t j = 0; j < data_.n; ++j) {
            force[j] = -static_cast<double>(gradient[j].value + at.z[j]);
            size = std::max(size, std::abs(force[j]) / std::max(1.0, gradient[j].scale));
        }
        Vector misses(members().size());
        for (std::size_t i = 0; i < misses.size(); ++i) {
            const std::size_t member = members()[i];
            if (sides.isRow(member)) {  // x is at the bounds
                misses[i] = static_cast<double>(sides.target(member) - rows[member].value);
                size = std::max(size, std::abs(misses[i]) / std::max(1.0, rows[member].scale));
            }
        }
        correct(x, multipliers, std::move(force), misses);
        setBounds(sides, x);
    }
}

EqualityProblem::Dependence EqualityProblem::dependenceOf(std::size_t q) {
    columns_.name({q}, members());
    WorkingFactor::Projection projection = working_.projectionOf(q);
    working_.solveUpper(projection.u.data());
    if (projection.own == 0.0) {
        // Coefficients whose terms are rounding beside q itself become zero.
        constexpr double CombinationRounding = 1e-11;
        const double whole = columns_.inner(q, q);
        for (std::size_t k = 0; k < projection.u.size(); ++k) {
            double& entry = projection.u[k];
            const double part = entry * entry * columns_.inner(members()[k], members()[k]);
            entry = part > CombinationRounding * CombinationRounding * whole ? entry : 0.0;
        }
    }
    return {std::move(projection.u), projection.own};
}

void EqualityProblem::refineDependence(std::size_t q, Vector& r) const {
    constexpr int Corrections = 2;
    for (int k = 0; k < Corrections; ++k) {
        const Point combined = pointOf(data_, members(), r, {});
        const std::vector<Sum> sums = transposedSums(data_, combined.y);
        Vector rest(data_.n);
        writeRow(data_, q, rest.data());
        for (std::size_t j = 0; j < data_.n; ++j) {
            rest[j] = static_cast<double>(rest[j] - sums[j].value - combined.z[j]);
        }
        blas::trsvLower(Op::None, viewOf(factor_), rest.data());
        Vector change(r.size());
        columns_.products(members(), rest.data(), change.data());
        working_.solve(change.data());
        for (std::size_t i = 0; i < r.size(); ++i) {
            r[i] += r[i] != 0.0 ? change[i] : 0.0;
        }
    }
}

Point pointOf(const ProblemData& data,
              const NamedColumns::List& constraints,
              const Vector& multipliers,
              Vector x) {
    Point result{std::move(x), Vector(data.m, 0.0), Vector(data.n, 0.0)};
    for (std::size_t k = 0; k < constraints.size(); ++k) {
        const std::size_t constraint = constraints[k];
        (constraint < data.m ? result.y[constraint] : result.z[constraint - data.m]) =
            multipliers[k];
    }
    return result;
}

}  // namespace activeset::frontend
