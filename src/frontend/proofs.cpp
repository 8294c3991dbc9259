// Proofs of what cannot be solved.
#include "frontend/proofs.hpp"

#include <cmath>
#include <utility>

#include "frontend/dense.hpp"

namespace activeset::frontend {

namespace {

constexpr double Negligible = 1e-12;     // curvature, in proportion to H
constexpr double Nothing = 1e-12;        // entries of a ray, the largest being 1
constexpr double ProofTolerance = 1e-9;  // of Farkas vectors and rays, relative

struct Equalities {
    std::vector<std::size_t> rows;
    std::vector<std::size_t> variables;  // with equal bounds
};

Equalities equalitiesOf(const Data& data) {
    Equalities result;
    for (std::size_t i = 0; i < data.m; ++i) {
        if (data.rowLower[i] == data.rowUpper[i]) {
            result.rows.push_back(i);
        }
    }
    for (std::size_t j = 0; j < data.n; ++j) {
        if (data.lower[j] == data.upper[j]) {
            result.variables.push_back(j);
        }
    }
    return result;
}

Dense columnsOf(const Data& data, const Equalities& equalities) {
    const std::size_t rows = equalities.rows.size();
    Dense columns(data.n, rows + equalities.variables.size());
    for (std::size_t j = 0; j < data.n; ++j) {
        for (std::size_t k = 0; k < rows; ++k) {
            columns(j, k) = data.columnOfA(j)[equalities.rows[k]];
        }
    }
    for (std::size_t k = 0; k < equalities.variables.size(); ++k) {
        columns(equalities.variables[k], rows + k) = 1.0;
    }
    return columns;
}

Dense matrixOf(const Data& data) {
    Dense H(data.n, data.n);
    H.values = data.H;
    return H;
}

bool bendsDown(const Prepared& problem, const Vector& direction) {
    return curvature(problem.user, direction).relative < -Negligible;
}

}  // namespace

Convexity convexityOf(Prepared& problem) {
    const Data& data = problem.scaled;
    if (!data.quadratic) {
        return {Convexity::Semidefinite, {}};
    }
    if (problem.subproblem(0.0) != nullptr) {
        return {Convexity::Strict, {}};
    }
    const double tolerance = 1e-15 * static_cast<double>(data.n);
    const PivotedCholesky whole(matrixOf(data), tolerance);
    if (whole.isPositiveDefinite()) {
        return {Convexity::Strict, {}};
    }
    if (whole.negativeDirection().empty()) {
        return {Convexity::Semidefinite, {}};
    }
    const auto unscaled = [&problem](const Vector& direction) {
        return problem.scaling.unscaled({direction, {}, {}}).x;
    };
    if (!bendsDown(problem, unscaled(whole.negativeDirection()))) {
        return {Convexity::Semidefinite, {}};
    }
    const Dense basis = PivotedQr(columnsOf(data, equalitiesOf(data))).nullSpace();
    const PivotedCholesky reduced(transposedProduct(basis, product(matrixOf(data), basis)),
                                  tolerance);
    if (reduced.negativeDirection().empty()) {
        return {Convexity::Semidefinite, {}};
    }
    Vector direction(data.n, 0.0);
    for (std::size_t k = 0; k < basis.cols; ++k) {
        axpy(reduced.negativeDirection()[k], basis.column(k), direction.data(), data.n);
    }
    Vector users = unscaled(direction);
    if (!bendsDown(problem, users)) {
        return {Convexity::Semidefinite, {}};
    }
    return {Convexity::None, std::move(users)};
}

// A residual r says that no x with Σ|x_j| < 1/r is feasible. It is no proof in view of an x that
// is, and larger than that.
static bool isRefuted(const Farkas& farkas, const Prepared& problem, const Answer& answer) {
    if (answer.point.x.empty() ||
        !(answer.judgement.certificate.primal.relative <= ProofTolerance)) {
        return false;
    }
    double size = 0.0;
    for (const double entry : problem.scaling.unscaled({answer.point.x, {}, {}}).x) {
        size += std::abs(entry);
    }
    return farkas.residual.absolute * size >= 0.5;
}

bool provesInfeasibility(const Prepared& problem, Vector y, Vector z, Answer& answer) {
    Point point = problem.scaling.unscaled({Vector(), std::move(y), std::move(z)});
    // What Aᵀy leaves over, the bounds take where there are any.
    const std::vector<Sum> sums = transposedSums(problem.user, point.y);
    for (std::size_t j = 0; j < problem.user.n; ++j) {
        point.z[j] = -static_cast<double>(sums[j].value);
    }
    Farkas farkas = judgeFarkas(problem.user, std::move(point.y), std::move(point.z));
    if (!holds(farkas, ProofTolerance, leastSize(problem.user)) ||
        isRefuted(farkas, problem, answer)) {
        return false;
    }
    answer.farkas = std::move(farkas);
    return true;
}

bool provesUnboundedness(const Prepared& problem, const Vector& direction, Answer& answer) {
    Vector users = problem.scaling.unscaled({direction, {}, {}}).x;
    const double length = largestMagnitude(users);
    if (!(length > 0.0)) {
        return false;
    }
    for (double& entry : users) {
        entry /= length;
        entry = std::abs(entry) < Nothing ? 0.0 : entry;
    }
    const Ray ray = judgeRay(problem.user, users);
    if (!holds(ray, ProofTolerance)) {
        return false;
    }
    answer.direction = std::move(users);
    answer.directionResidual = ray.residual;
    return true;
}

Data withoutDependentEqualities(const Data& data) {
    const Equalities equalities = equalitiesOf(data);
    const PivotedQr qr(columnsOf(data, equalities));
    Data result = data;
    for (std::size_t k = qr.rank(); k < equalities.rows.size() + equalities.variables.size(); ++k) {
        const std::size_t member = qr.pivot(k);
        if (member < equalities.rows.size()) {
            result.rowLower[equalities.rows[member]] = -Infinity;
            result.rowUpper[equalities.rows[member]] = Infinity;
        } else {
            const std::size_t variable = equalities.variables[member - equalities.rows.size()];
            result.lower[variable] = -Infinity;
            result.upper[variable] = Infinity;
        }
    }
    return result;
}

}  // namespace activeset::frontend
