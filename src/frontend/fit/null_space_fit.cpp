// See Lawson and Hanson, Solving Least Squares Problems, chapters 20 to 23.
#include "frontend/fit/null_space_fit.hpp"

#include <cmath>
#include <limits>

#include "frontend/problem/extended_sums.hpp"
#include "frontend/problem/submatrices.hpp"

namespace activeset::frontend {

namespace {

/// Columns of the fit depend on others only to within rounding, as in any orthogonal method.
constexpr double DependentColumn = std::numeric_limits<double>::epsilon();

/// s − R·x − ρ, rounded once.
Vector residualOf(const Dense& R, const Vector& s, const Vector& x, const Vector& rho) {
    const std::size_t rows = R.rows;
    Vector sums(3 * rows);
    exactProduct({R.values.data(), rows, R.cols, rows}, x.data(),
                 {sums.data(), sums.data() + rows, sums.data() + 2 * rows});
    Vector residual(rows);
    for (std::size_t i = 0; i < rows; ++i) {
        const DoubleDouble left = DoubleDouble(s[i]) - DoubleDouble(sums[i], sums[rows + i]);
        residual[i] = static_cast<double>(left - rho[i]);
    }
    return residual;
}

/// t − T·x
Vector residualOf(const Fit& fit, const Vector& x) {
    return residualOf(fit.T, fit.t, x, Vector(fit.T.rows, 0.0));
}

/// Rᵀρ, rounded once.
Vector slopeOf(const Dense& R, const Vector& rho) {
    Vector sums(3 * R.cols);
    exactTransposedProduct({R.values.data(), R.rows, R.cols, R.rows}, rho.data(),
                           {sums.data(), sums.data() + R.cols, sums.data() + 2 * R.cols});
    sums.resize(R.cols);
    return sums;
}

/// The basic solution of min ‖B·v − r‖; r is destroyed.
Vector leastSquares(const PivotedQr& qr, std::size_t cols, Vector r) {
    Vector v(cols, 0.0);
    if (qr.rank() != 0) {
        qr.applyTransposed(r.data());
        qr.solve(r.data());
        for (std::size_t k = 0; k < qr.rank(); ++k) {
            v[qr.pivot(k)] = r[k];
        }
    }
    return v;
}

}  // namespace

NullSpaceFit::NullSpaceFit(const Fit& fit, const ProblemData& constraints, Constraints& held)
    : fit_(fit),
      constraints_(constraints),
      free_([&] {
          std::vector<std::size_t> free;
          for (std::size_t j = 0; j < constraints.n; ++j) {
              if (held[constraints.m + j] == Side::None) {
                  free.push_back(j);
              }
          }
          return free;
      }()),
      heldRows_([&] {
          std::vector<std::size_t> rows;
          for (std::size_t i = 0; i < constraints.m; ++i) {
              if (held[i] != Side::None) {
                  rows.push_back(i);
              }
          }
          return rows;
      }()),
      held_(held),
      rows_(gradientsOf(constraints, heldRows_, free_)),
      basis_(heldRows_.empty() ? Dense() : rows_.nullSpace()),
      reduced_(reducedFit(), DependentColumn * static_cast<double>(fit.T.rows + fit.T.cols)) {
    keepIndependent(held);
    held_ = held;
}

Dense NullSpaceFit::reducedFit() const {
    Dense columns(fit_.T.rows, free_.size());
    for (std::size_t j = 0; j < free_.size(); ++j) {
        std::copy_n(fit_.T.column(free_[j]), fit_.T.rows, columns.column(j));
    }
    return heldRows_.empty() ? columns : product(columns, basis_);
}

void NullSpaceFit::keepIndependent(Constraints& held) {
    std::vector<bool> isKept(heldRows_.size(), false);
    for (std::size_t k = 0; k < rows_.rank(); ++k) {
        isKept[rows_.pivot(k)] = true;
    }
    for (std::size_t k = 0; k < heldRows_.size(); ++k) {
        if (!isKept[k]) {
            held.hold(heldRows_[k], Side::None);
        }
    }
}

void NullSpaceFit::moveToSides(Vector& x) const {
    const std::size_t m = constraints_.m;
    for (std::size_t j = 0; j < constraints_.n; ++j) {
        if (held_[m + j] != Side::None) {
            x[j] = held_.target(m + j);
        }
    }
    if (rows_.rank() == 0) {
        return;
    }
    const std::vector<Sum> values = rowValues(constraints_, x);
    Vector step(free_.size(), 0.0);
    for (std::size_t k = 0; k < rows_.rank(); ++k) {
        const std::size_t row = heldRows_[rows_.pivot(k)];
        step[k] = static_cast<double>(held_.target(row) - values[row].value);
    }
    rows_.solveTransposed(step.data());
    rows_.apply(step.data());
    for (std::size_t j = 0; j < free_.size(); ++j) {
        x[free_[j]] += step[j];
    }
}

Vector NullSpaceFit::fromNullSpace(const Vector& v) const {
    if (heldRows_.empty()) {
        return v;
    }
    Vector step(free_.size(), 0.0);
    if (basis_.cols != 0) {
        addProduct(basis_, v, step);
    }
    return step;
}

Vector NullSpaceFit::toNullSpace(const Vector& ofVariables) const {
    Vector ofFree(free_.size());
    for (std::size_t j = 0; j < free_.size(); ++j) {
        ofFree[j] = ofVariables[free_[j]];
    }
    return heldRows_.empty() || basis_.cols == 0 ? ofFree : transposedProduct(basis_, ofFree);
}

void NullSpaceFit::moveToMinimum(Vector& x) const {
    moveToSides(x);
    const std::size_t dimension = heldRows_.empty() ? free_.size() : basis_.cols;
    const Vector step = fromNullSpace(leastSquares(reduced_, dimension, residualOf(fit_, x)));
    for (std::size_t j = 0; j < free_.size(); ++j) {
        x[free_[j]] += step[j];
    }
}

// With T_F·Z·P = Q·S, Qᵀ times the residual has to change by S⁻ᵀPᵀ(−Zᵀ·slope). What is left of the
// first equation then gives v.
Vector NullSpaceFit::correction(Vector& residual, Vector left, const Vector& slope) const {
    fit_.Q.applyTransposed(left);
    reduced_.applyTransposed(left.data());
    Vector w(reduced_.rank());
    for (std::size_t k = 0; k < w.size(); ++k) {
        w[k] = -slope[reduced_.pivot(k)];
    }
    reduced_.solveTransposed(w.data());
    Vector ofV(w.size());
    for (std::size_t k = 0; k < w.size(); ++k) {
        ofV[k] = left[k] - w[k];
        left[k] = w[k];
    }
    reduced_.solve(ofV.data());
    reduced_.apply(left.data());
    fit_.Q.apply(left);
    for (std::size_t i = 0; i < residual.size(); ++i) {
        residual[i] += left[i];
    }
    Vector v(slope.size(), 0.0);
    for (std::size_t k = 0; k < w.size(); ++k) {
        v[reduced_.pivot(k)] = ofV[k];
    }
    return fromNullSpace(v);
}

void NullSpaceFit::refine(Vector& x) const {
    constexpr int MostCorrections = 4;
    constexpr double LastDigits = 2.0 * std::numeric_limits<double>::epsilon();
    moveToSides(x);
    if (reduced_.rank() == 0) {
        return;
    }
    Vector residual = residualOf(fit_.R, fit_.s, x, Vector(fit_.s.size(), 0.0));
    double last = std::numeric_limits<double>::infinity();
    for (int round = 0; round < MostCorrections; ++round) {
        const Vector step = correction(residual, residualOf(fit_.R, fit_.s, x, residual),
                                       toNullSpace(slopeOf(fit_.R, residual)));
        const double size = largestMagnitude(step);
        if (!(size < 0.5 * last)) {
            return;
        }
        last = size;
        for (std::size_t j = 0; j < free_.size(); ++j) {
            x[free_[j]] += step[j];
        }
        if (size <= LastDigits * largestMagnitude(x)) {
            return;
        }
    }
}

void NullSpaceFit::setMultipliers(Point& point) const {
    const Vector force = transposedProduct(fit_.T, residualOf(fit_, point.x));
    point.y.assign(constraints_.m, 0.0);
    point.z.assign(constraints_.n, 0.0);
    Vector ofFree(free_.size());
    for (std::size_t j = 0; j < free_.size(); ++j) {
        ofFree[j] = force[free_[j]];
    }
    const Vector y = leastSquares(rows_, heldRows_.size(), ofFree);
    for (std::size_t k = 0; k < heldRows_.size(); ++k) {
        point.y[heldRows_[k]] = y[k];
    }
    for (std::size_t j = 0; j < constraints_.n; ++j) {
        if (held_[constraints_.m + j] != Side::None) {
            point.z[j] = force[j] - (constraints_.m == 0 ? 0.0
                                                         : dot(constraints_.columnOfA(j),
                                                               point.y.data(), constraints_.m));
        }
    }
}

Vector NullSpaceFit::noiseOfGradient(const Vector& x) const {
    constexpr double GradientRounding = 10.0 * std::numeric_limits<double>::epsilon();
    Vector sizes(fit_.T.rows);
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        sizes[i] = std::abs(fit_.t[i]);
    }
    for (std::size_t j = 0; j < fit_.T.cols; ++j) {
        for (std::size_t i = 0; i < sizes.size(); ++i) {
            sizes[i] += std::abs(fit_.T(i, j) * x[j]);
        }
    }
    Vector noise(fit_.T.cols, 0.0);
    for (std::size_t j = 0; j < noise.size(); ++j) {
        for (std::size_t i = 0; i < sizes.size(); ++i) {
            noise[j] += std::abs(fit_.T(i, j)) * sizes[i];
        }
        noise[j] *= GradientRounding * static_cast<double>(noise.size());
    }
    return noise;
}

}  // namespace activeset::frontend
