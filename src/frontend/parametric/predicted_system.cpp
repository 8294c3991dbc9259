// By the factors of the last prediction, which are those of the scaled problem.
#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

#include "frontend/algebra/dense_views.hpp"
#include "frontend/parametric/working_system.hpp"
#include "frontend/problem/constraints.hpp"

namespace activeset::frontend {

namespace {

using List = std::vector<std::size_t>;

/// By Cholesky of H and of the Schur complement S of all members: with H = L·Lᵀ, G = L⁻¹Wᵀ and
/// d = L⁻¹x, S·λ = Gᵀd − w and x := L⁻ᵀ(d − Gλ).
class SchurSystem final : public WorkingSystem {
public:
    SchurSystem(const ProblemCache& cache, Subproblem& subproblem)
        : data_(cache.user),
          members_(subproblem.working().members()),
          scaling_(cache.scaling),
          factor_(subproblem.factor()),
          columns_(subproblem.columns()),
          working_(subproblem.working()) {}

    void solve(double* x, double* y, double* z) const override;

private:
    void apply(double* x, double* values) const;
    void takeOff(const double* x, const double* multipliers, double* restX, double* rest) const;
    /// By what the row of member k was multiplied.
    [[nodiscard]] double unitOf(std::size_t k) const {
        const std::size_t member = members_[k];
        return member < data_.m ? scaling_.row[member] : 1.0 / scaling_.column[member - data_.m];
    }

    const ProblemData& data_;
    List members_;
    const Scaling& scaling_;
    const Dense& factor_;
    const NamedColumns& columns_;
    const WorkingFactor& working_;
};

// Without refinement.
void SchurSystem::apply(double* x, double* values) const {
    const std::size_t n = data_.n;
    for (std::size_t j = 0; j < n; ++j) {
        x[j] *= scaling_.column[j] * scaling_.objective;
    }
    blas::trsvLower(Op::None, viewOf(factor_), x);
    Vector multipliers(members_.size());
    columns_.products(members_, x, multipliers.data());
    for (std::size_t k = 0; k < multipliers.size(); ++k) {
        multipliers[k] -= values[k] * unitOf(k);
    }
    working_.solve(multipliers.data());
    columns_.subtract(members_, multipliers.data(), x);
    blas::trsvLower(Op::Transpose, viewOf(factor_), x);
    for (std::size_t j = 0; j < n; ++j) {
        x[j] *= scaling_.column[j];
    }
    for (std::size_t k = 0; k < multipliers.size(); ++k) {
        values[k] = multipliers[k] * unitOf(k) / scaling_.objective;
    }
}

// From right-hand sides, K·(x, multipliers).
void SchurSystem::takeOff(const double* x,
                          const double* multipliers,
                          double* restX,
                          double* rest) const {
    const std::size_t n = data_.n;
    const std::size_t m = data_.m;
    blas::gemv(Op::None, -1.0, ConstBlock(data_.H.data(), n, n), x, 1.0, restX);
    Vector y(m, 0.0);
    for (std::size_t k = 0; k < members_.size(); ++k) {
        if (members_[k] < m) {
            y[members_[k]] = multipliers[k];
        } else {
            restX[members_[k] - m] -= multipliers[k];
            rest[k] -= x[members_[k] - m];
        }
    }
    if (m == 0) {
        return;
    }
    const ConstBlock A(data_.A.data(), m, n);
    blas::gemv(Op::Transpose, -1.0, A, y.data(), 1.0, restX);
    blas::gemv(Op::None, 1.0, A, x, 0.0, y.data());
    for (std::size_t k = 0; k < members_.size(); ++k) {
        if (members_[k] < m) {
            rest[k] -= y[members_[k]];
        }
    }
}

void SchurSystem::solve(double* x, double* y, double* z) const {
    const std::size_t n = data_.n;
    const std::size_t m = data_.m;
    const std::size_t count = members_.size();
    Vector values(count);
    for (std::size_t k = 0; k < count; ++k) {
        values[k] = members_[k] < m ? y[members_[k]] : z[members_[k] - m];
    }
    const Vector sides = values;
    Vector restX(x, x + n);
    Vector rest = values;
    apply(x, values.data());
    takeOff(x, values.data(), restX.data(), rest.data());
    apply(restX.data(), rest.data());
    axpy(1.0, restX.data(), x, n);
    std::fill_n(y, m, 0.0);
    std::fill_n(z, n, 0.0);
    for (std::size_t k = 0; k < count; ++k) {
        const std::size_t member = members_[k];
        if (member < m) {
            y[member] = values[k] + rest[k];
        } else {
            z[member - m] = values[k] + rest[k];
            x[member - m] = sides[k];
        }
    }
}

/// Without the variables at bounds, whose multipliers are read off the gradient.
class FreeVariables final : public WorkingSystem {
public:
    FreeVariables(const ProblemCache& cache, Subproblem& subproblem, List fixed)
        : scaling_(cache.scaling),
          data_(cache.scaled),
          system_(subproblem.freeSystem()),
          fixed_(std::move(fixed)) {}

    void solve(double* x, double* y, double* z) const override;

private:
    void apply(Vector& gradient, Vector& values, Vector& x, Vector& y) const;

    const Scaling& scaling_;
    const ProblemData& data_;
    const FreeSystem& system_;
    List fixed_;
};

// Moves x and y by the solution for a right-hand side, which becomes its residual.
void FreeVariables::apply(Vector& gradient, Vector& values, Vector& x, Vector& y) const {
    const List& free = system_.free();
    const List& rows = system_.rows();
    Vector f(free.size());
    Vector r(rows.size());
    Vector change(data_.m, 0.0);
    std::transform(free.begin(), free.end(), f.begin(), [&](std::size_t j) { return gradient[j]; });
    std::transform(rows.begin(), rows.end(), r.begin(), [&](std::size_t i) { return values[i]; });
    system_.solve(f, r);
    for (std::size_t k = 0; k < rows.size(); ++k) {
        y[rows[k]] += r[k];
        change[rows[k]] = r[k];
    }
    Vector step(data_.n, 0.0);
    for (std::size_t k = 0; k < free.size(); ++k) {
        x[free[k]] += f[k];
        step[free[k]] = -f[k];
    }
    addHessianColumns(data_, free, step.data(), gradient.data());
    if (data_.m != 0) {
        const ConstBlock A(data_.A.data(), data_.m, data_.n);
        blas::gemv(Op::None, 1.0, A, step.data(), 1.0, values.data());
        blas::gemv(Op::Transpose, -1.0, A, change.data(), 1.0, gradient.data());
    }
}

void FreeVariables::solve(double* x, double* y, double* z) const {
    const std::size_t n = data_.n;
    const std::size_t m = data_.m;
    Vector gradient(n);
    Vector values(m);
    Vector point(n, 0.0);
    Vector multipliers(m, 0.0);
    for (std::size_t j = 0; j < n; ++j) {
        gradient[j] = x[j] * scaling_.column[j] * scaling_.objective;
    }
    for (std::size_t i = 0; i < m; ++i) {
        values[i] = y[i] * scaling_.row[i];
    }
    Vector step(n, 0.0);
    bool isMoved = false;
    for (const std::size_t j : fixed_) {
        point[j] = z[j] / scaling_.column[j];
        step[j] = -point[j];
        isMoved = isMoved || point[j] != 0.0;
    }
    if (isMoved) {
        addHessianColumns(data_, fixed_, step.data(), gradient.data());
        blas::gemv(Op::None, 1.0, ConstBlock(data_.A.data(), m, n), step.data(), 1.0,
                   values.data());
    }
    apply(gradient, values, point, multipliers);
    apply(gradient, values, point, multipliers);
    std::fill_n(z, n, 0.0);
    for (const std::size_t j : fixed_) {
        z[j] = gradient[j] / (scaling_.column[j] * scaling_.objective);
    }
    for (std::size_t j = 0; j < n; ++j) {
        x[j] = point[j] * scaling_.column[j];
    }
    for (std::size_t i = 0; i < m; ++i) {
        y[i] = multipliers[i] * scaling_.row[i] / scaling_.objective;
    }
}

}  // namespace

std::unique_ptr<const WorkingSystem> systemOf(ProblemCache& cache, const WorkingSet& set) {
    Subproblem* const subproblem = cache.scaled.quadratic ? cache.subproblem(0.0) : nullptr;
    if (subproblem == nullptr) {
        return nullptr;
    }
    const Constraints held = Constraints::namedBy(cache.scaled, set);
    List free;
    List fixed;
    List rows;
    for (std::size_t k = 0; k < held.count(); ++k) {
        const bool isHeld = held[k] != Side::None;
        if (!held.isRow(k)) {
            (isHeld ? fixed : free).push_back(k - cache.scaled.m);
        } else if (isHeld) {
            rows.push_back(k);
        }
    }
    if (subproblem->freeSystem().isFactorisedFor(free, rows, LeastSchurPivot)) {
        return std::make_unique<const FreeVariables>(cache, *subproblem, std::move(fixed));
    }
    List members = subproblem->working().members();
    std::sort(members.begin(), members.end());
    const bool isSet = members == held.members() && !subproblem->working().isDoubtful();
    if (!isSet || !hasClearPivots(subproblem->factor(), LeastSchurPivot)) {
        return nullptr;
    }
    return std::make_unique<const SchurSystem>(cache, *subproblem);
}

}  // namespace activeset::frontend
