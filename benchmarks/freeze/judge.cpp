#include "benchmarks/freeze/judge.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace activeset::bench {

namespace {

using Real = long double;
using Vector = std::vector<double>;

/// A sum, and the sum of the absolute values of its terms.
struct Sum {
    Real value = 0.0L;
    Real size = 0.0L;

    void add(Real term) {
        value += term;
        size += std::abs(term);
    }
    [[nodiscard]] bool isNegligible(Real tolerance, Real least) const {
        return std::abs(value) <= tolerance * std::max(size, least);
    }
    /// Negative beyond any rounding of the sum.
    [[nodiscard]] bool isNegative() const { return value < -1e-16L * size; }
};

/// M·v of a column-major matrix with `rows` rows, or Mᵀ·v. An empty matrix adds no terms.
std::vector<Sum> product(const Vector& M, std::size_t rows, const Vector& v, bool isTransposed) {
    const std::size_t cols = rows == 0 ? 0 : M.size() / rows;
    std::vector<Sum> result(isTransposed ? cols : rows);
    for (std::size_t j = 0; j < cols; ++j) {
        for (std::size_t i = 0; i < rows; ++i) {
            const Real entry = M[j * rows + i];
            if (isTransposed) {
                result[j].add(entry * v[i]);
            } else {
                result[i].add(entry * v[j]);
            }
        }
    }
    return result;
}

/// Aᵀy + z.
std::vector<Sum> stationarity(const Program& p, const Vector& y, const Vector& z) {
    std::vector<Sum> sums = product(p.A, p.m, y, true);
    sums.resize(p.n);
    for (std::size_t j = 0; j < p.n; ++j) {
        sums[j].add(z[j]);
    }
    return sums;
}

/// Σ multiplier·side; the sign of a multiplier names its side. False if that side is absent.
bool addSides(const Vector& multipliers, const Vector& lower, const Vector& upper, Sum& sum) {
    for (std::size_t i = 0; i < multipliers.size(); ++i) {
        if (multipliers[i] == 0.0) {
            continue;
        }
        const double side = multipliers[i] > 0.0 ? upper[i] : lower[i];
        if (!std::isfinite(side)) {
            return false;
        }
        sum.add(Real{multipliers[i]} * side);
    }
    return true;
}

bool liesBetween(const std::vector<Sum>& values,
                 const Vector& lower,
                 const Vector& upper,
                 Real tolerance) {
    for (std::size_t i = 0; i < values.size(); ++i) {
        const Real room = tolerance * std::max(values[i].size, 1.0L);
        if (!(values[i].value >= lower[i] - room && values[i].value <= upper[i] + room)) {
            return false;
        }
    }
    return true;
}

std::vector<Sum> asSums(const Vector& x) {
    std::vector<Sum> sums(x.size());
    for (std::size_t j = 0; j < x.size(); ++j) {
        sums[j].add(x[j]);
    }
    return sums;
}

bool isFeasible(const Program& p, const Vector& x, Real tolerance) {
    return x.size() == p.n && liesBetween(asSums(x), p.lower, p.upper, tolerance) &&
           liesBetween(product(p.A, p.m, x, false), p.rowLower, p.rowUpper, tolerance);
}

std::string objectionToOptimum(const Program& p, const Result& r, Real tolerance) {
    if (r.y.size() != p.m || r.z.size() != p.n || !isFeasible(p, r.x, tolerance)) {
        return "the point is not feasible";
    }
    std::vector<Sum> sums = stationarity(p, r.y, r.z);
    const std::vector<Sum> curved = product(p.H, p.H.empty() ? 0 : p.n, r.x, false);
    Sum gap;
    Sum objective;
    objective.add(p.constant);
    const Real own = std::numeric_limits<Real>::epsilon() * static_cast<Real>(p.n);
    Real lost = 0;  // the judge's own rounding, which exceeds the solver's
    for (std::size_t j = 0; j < p.n; ++j) {
        sums[j].add(p.c[j]);
        if (!curved.empty()) {
            // The conditions are those of H + δI; the objective is that of H.
            const Real shifted = curved[j].value + Real{r.hessianShift} * r.x[j];
            sums[j].value += shifted;
            sums[j].size += curved[j].size;
            gap.add(shifted * r.x[j]);
            objective.add(0.5L * curved[j].value * r.x[j]);
            lost += own * curved[j].size * std::abs(Real{r.x[j]});
        }
        gap.add(Real{p.c[j]} * r.x[j]);
        objective.add(Real{p.c[j]} * r.x[j]);
        if (!sums[j].isNegligible(tolerance, 1.0L)) {
            return "the gradient is not balanced";
        }
    }
    if (!addSides(r.y, p.rowLower, p.rowUpper, gap) || !addSides(r.z, p.lower, p.upper, gap)) {
        return "a multiplier of a side that is absent";
    }
    if (!gap.isNegligible(tolerance, 1.0L)) {
        return "the gap is open";
    }
    objective.value -= r.objective;
    objective.size += lost / 1e-13L;
    return objective.isNegligible(1e-13L, 1.0L) ? "" : "the objective is not that of the point";
}

std::string objectionToFarkas(const Program& p, const Result& r) {
    if (!r.farkas || r.farkas->y.size() != p.m || r.farkas->z.size() != p.n) {
        return "no Farkas vector";
    }
    Sum value;
    if (!addSides(r.farkas->y, p.rowLower, p.rowUpper, value) ||
        !addSides(r.farkas->z, p.lower, p.upper, value)) {
        return "a Farkas multiplier of a side that is absent";
    }
    // The residual of the balance weakens the proof: it excludes only points whose entries are no
    // larger than this.
    constexpr Real Radius = 1e5L;
    for (const Sum& sum : stationarity(p, r.farkas->y, r.farkas->z)) {
        value.value += Radius * std::abs(sum.value);
    }
    return value.isNegative() ? "" : "the Farkas vector contradicts nothing";
}

bool recedes(const std::vector<Sum>& steps,
             const Vector& lower,
             const Vector& upper,
             Real tolerance) {
    for (std::size_t i = 0; i < steps.size(); ++i) {
        const Real room = tolerance * steps[i].size;
        if ((std::isfinite(upper[i]) && steps[i].value > room) ||
            (std::isfinite(lower[i]) && steps[i].value < -room)) {
            return false;
        }
    }
    return true;
}

std::string objectionToRay(const Program& p, const Result& r, Real tolerance) {
    if (r.direction.size() != p.n) {
        return "no direction";
    }
    const std::vector<Sum> curved = product(p.H, p.H.empty() ? 0 : p.n, r.direction, false);
    if (std::ranges::any_of(curved,
                            [=](const Sum& s) { return !s.isNegligible(tolerance, 0.0L); })) {
        return "the ray is curved";
    }
    if (!recedes(product(p.A, p.m, r.direction, false), p.rowLower, p.rowUpper, tolerance) ||
        !recedes(asSums(r.direction), p.lower, p.upper, 0.0L)) {
        return "the ray leaves";
    }
    Sum slope;
    for (std::size_t j = 0; j < p.n; ++j) {
        slope.add(Real{p.c[j]} * r.direction[j]);
    }
    return slope.isNegative() ? "" : "the ray does not descend";
}

std::string objectionToCurvature(const Program& p, const Result& r) {
    if (r.direction.size() != p.n) {
        return "no direction";
    }
    Sum curvature;
    for (std::size_t j = 0; j < p.n; ++j) {
        for (std::size_t i = 0; i < p.n; ++i) {
            curvature.add(Real{p.H[j * p.n + i]} * r.direction[i] * r.direction[j]);
        }
    }
    return curvature.isNegative() ? "" : "the curvature is not negative";
}

}  // namespace

std::string objectionTo(const Program& program, const Result& result, double tolerance) {
    switch (result.status) {
        case Status::Optimal:
            return objectionToOptimum(program, result, tolerance);
        case Status::Infeasible:
            return objectionToFarkas(program, result);
        case Status::Unbounded:
            return objectionToRay(program, result, tolerance);
        case Status::NotConvex:
            return objectionToCurvature(program, result);
        default:
            return "";
    }
}

double objectiveScale(const Program& program, const std::vector<double>& x) {
    Sum objective;
    objective.add(program.constant);
    const std::vector<Sum> curved = product(program.H, program.H.empty() ? 0 : program.n, x, false);
    for (std::size_t j = 0; j < program.n; ++j) {
        objective.add(Real{program.c[j]} * x[j]);
        if (!curved.empty()) {
            objective.size += std::abs(0.5L * curved[j].size * x[j]);
        }
    }
    return static_cast<double>(std::max(objective.size, 1.0L));
}

}  // namespace activeset::bench
