// Convexity by pivoted Cholesky factorisation: of H, then of H on the null space of the equalities.
#include "frontend/proof/convexity.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "frontend/algebra/pivoted_cholesky.hpp"
#include "frontend/algebra/pivoted_qr.hpp"
#include "frontend/problem/extended_sums.hpp"
#include "frontend/problem/submatrices.hpp"
#include "frontend/proof/equalities.hpp"

namespace activeset::frontend {

namespace {

// Curvature in proportion to ‖H‖·‖d‖², where ‖H‖ is the largest entry, and what an equality may
// miss along a direction, in proportion to its terms. Rounding of H and d makes less of zero.
constexpr double NegligibleCurvature = 1e-12;
// The same in proportion to n·‖a‖·‖d‖: where all terms are rounding, so is what they miss.
constexpr double EqualityRounding = 4.0 * std::numeric_limits<double>::epsilon();
// Rounding of a curvature, in proportion to n·‖H‖·‖d‖².
constexpr double CurvatureRounding = 4.0 * std::numeric_limits<double>::epsilon();

// What rounding makes of a curvature vᵀHv, v of length 1.
double roundingOfCurvature(std::size_t n, double largestOfH) {
    return CurvatureRounding * static_cast<double>(n) * largestOfH;
}

double squaredLength(const Vector& values) {
    return dot(values.data(), values.data(), values.size());
}

/// H on the null space of the equalities.
class ReducedCurvature {
public:
    explicit ReducedCurvature(const ProblemData& data)
        : data_(data),
          equalities_(data),
          qr_(gradientsOf(data, equalities_.rows, equalities_.free)) {}

    [[nodiscard]] ReducedHessian with(const Vector& direction) const {
        Vector along;
        for (const std::size_t j : equalities_.free) {
            along.push_back(direction[j]);
        }
        if (equalities_.rows.empty()) {
            return {hessianOf(data_, equalities_.free), std::move(along)};
        }
        const Dense basis = qr_.nullSpace();
        return {reducedBy(basis), transposedProduct(basis, along)};
    }

    /// A direction along which the curvature may be negative; empty if there is none.
    /// @param whole  H, factorised
    [[nodiscard]] Vector negativeDirection(const PivotedCholesky& whole) const {
        if (equalities_.rows.empty() && equalities_.variables.empty()) {
            return whole.negativeDirection();
        }
        const Dense basis = qr_.nullSpace();
        const PivotedCholesky reduced(reducedBy(basis),
                                      roundingOfCurvature(basis.rows, data_.H.largest()));
        if (reduced.negativeDirection().empty()) {
            return {};
        }
        Vector along(basis.rows, 0.0);
        for (std::size_t k = 0; k < basis.cols; ++k) {
            axpy(reduced.negativeDirection()[k], basis.column(k), along.data(), along.size());
        }
        return onEqualities(std::move(along));
    }

    /// Whether the equalities stay and the curvature is negative beyond rounding.
    [[nodiscard]] bool bendsDown(const Vector& direction) const {
        const std::vector<Sum> rows = rowValues(data_, direction);
        const double rounding =
            EqualityRounding * static_cast<double>(data_.n) * largestMagnitude(direction);
        for (const std::size_t i : equalities_.rows) {
            if (std::abs(static_cast<double>(rows[i].value)) >
                std::max(NegligibleCurvature * rows[i].scale, rounding * largestEntry(i))) {
                return false;
            }
        }
        const double size = data_.H.largest() * squaredLength(direction);
        const Residual bend = curvature(data_, direction);
        return bend.absolute < -NegligibleCurvature * size && bend.relative < -NegligibleCurvature;
    }

private:
    [[nodiscard]] Dense reducedBy(const Dense& basis) const {
        return transposedProduct(basis, product(hessianOf(data_, equalities_.free), basis));
    }
    [[nodiscard]] double largestEntry(std::size_t row) const {
        double largest = 0.0;
        for (std::size_t j = 0; j < data_.n; ++j) {
            largest = std::max(largest, std::abs(data_.columnOfA(j)[row]));
        }
        return largest;
    }
    // All n entries, corrected for what rounding makes the equalities miss.
    [[nodiscard]] Vector onEqualities(Vector along) const {
        const auto complete = [&] {
            Vector direction(data_.n, 0.0);
            for (std::size_t k = 0; k < along.size(); ++k) {
                direction[equalities_.free[k]] = along[k];
            }
            return direction;
        };
        const std::vector<Sum> rows = rowValues(data_, complete());
        Vector step(std::max(along.size(), equalities_.rows.size()), 0.0);
        for (std::size_t k = 0; k < qr_.rank(); ++k) {
            step[k] = -static_cast<double>(rows[equalities_.rows[qr_.pivot(k)]].value);
        }
        qr_.solveTransposed(step.data());
        qr_.apply(step.data());
        axpy(1.0, step.data(), along.data(), along.size());
        return complete();
    }

    const ProblemData& data_;
    Equalities equalities_;
    PivotedQr qr_;
};

}  // namespace

Convexity convexityOf(const ProblemData& data) {
    if (!data.quadratic) {
        return {Convexity::Semidefinite, {}};
    }
    const PivotedCholesky whole(hessianOf(data), roundingOfCurvature(data.n, data.H.largest()));
    if (whole.isPositiveDefinite()) {
        return {Convexity::Strict, {}};
    }
    if (whole.negativeDirection().empty()) {
        return {Convexity::Semidefinite, {}};
    }
    const ReducedCurvature reduced(data);
    const Vector direction = reduced.negativeDirection(whole);
    if (direction.empty() || !reduced.bendsDown(direction)) {
        return {Convexity::Semidefinite, {}};
    }
    return {Convexity::None, direction};
}

ReducedHessian reducedHessian(const ProblemData& data, const Vector& direction) {
    return ReducedCurvature(data).with(direction);
}

Residual curvature(const ProblemData& data, const Vector& direction) {
    const std::vector<Sum> curved = curvedSums(data, direction);
    Extended sum = 0;
    double size = 0.0;
    for (std::size_t j = 0; j < data.n; ++j) {
        sum += curved[j].value * direction[j];
        size += curved[j].scale * std::abs(direction[j]);
    }
    const auto value = static_cast<double>(sum);
    return {value, size > 0.0 ? value / size : 0.0};
}

}  // namespace activeset::frontend
