// Rays. An error δ of d or w changes dᵀHd − 2wᵀEd by δ² only. So curvature far below the largest
// can be told from the rounding of d.
#include "frontend/proof/ray.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "frontend/algebra/pivoted_qr.hpp"
#include "frontend/problem/extended_sums.hpp"
#include "frontend/problem/submatrices.hpp"
#include "frontend/proof/equalities.hpp"
#include "frontend/proof/rounded_digits.hpp"

namespace activeset::frontend {

namespace {

// By how much a direction may miss a side because its entries are rounded, in proportion to the
// terms; what misses a quarter of that needs no correction.
constexpr double SideRounding = 8.0 * std::numeric_limits<double>::epsilon();
constexpr double ExactlyAlong = 0.25 * SideRounding;
// By how much a direction misses a side that it is meant to run along, in proportion to the terms.
constexpr double NearlyAlong = 1e-9;
// dᵀHd, in proportion to its terms: what rounding the entries of a singular H may make of zero.
constexpr double FlatCurvature = 4.0 * std::numeric_limits<double>::epsilon();
// Entries of a direction that are zero but for rounding, in proportion to the largest: of a
// variable with a bound, and of one that no bound keeps in place.
constexpr double NegligibleEntry = 1e-12;
constexpr double NegligibleFreeEntry = 1e-17;

/// How the equalities take up H·d.
struct Taken {
    Vector rows;                 ///< w, by equality
    std::vector<Sum> remainder;  ///< H·d − Eᵀw; for fixed variables the part of their bounds
};

Taken takenUp(const ProblemData& data, const Equalities& equalities, std::vector<Sum> curved) {
    Taken result{Vector(data.m, 0.0), std::move(curved)};
    const std::size_t count = equalities.rows.size();
    const bool isNeeded =
        std::any_of(equalities.free.begin(), equalities.free.end(), [&](std::size_t j) {
            return magnitude(result.remainder[j].value) >
                   NegligibleEntry * result.remainder[j].scale;
        });
    if (count == 0 || !isNeeded) {
        return result;
    }
    const PivotedQr qr(gradientsOf(data, equalities.rows, equalities.free));
    for (int correction = 0; correction < 2; ++correction) {
        Vector rest(std::max(equalities.free.size(), count), 0.0);
        for (std::size_t k = 0; k < equalities.free.size(); ++k) {
            rest[k] = static_cast<double>(result.remainder[equalities.free[k]].value);
        }
        qr.applyTransposed(rest.data());
        qr.solve(rest.data());
        Vector step(data.m, 0.0);
        for (std::size_t k = 0; k < qr.rank(); ++k) {
            step[equalities.rows[qr.pivot(k)]] = -rest[k];
        }
        addTransposedProduct(result.remainder, data, step);
        for (std::size_t i = 0; i < data.m; ++i) {
            result.rows[i] -= step[i];
        }
    }
    return result;
}

/// The size of the terms of dᵀHd − 2wᵀEd with entries of H and E that look rounded.
double roundedTerms(const ProblemData& data, const Vector& direction, const Vector& w) {
    double result = 0.0;
    for (std::size_t j = 0; j < data.n; ++j) {
        double column = 0.0;
        for (std::size_t i = 0; i < data.n && data.quadratic; ++i) {
            const double entry = direction[j] == 0.0 ? 0.0 : data.columnOfH(j)[i];
            column += looksRounded(entry) ? std::abs(entry * direction[i]) : 0.0;
        }
        for (std::size_t i = 0; i < data.m; ++i) {
            const double entry = w[i] == 0.0 ? 0.0 : data.columnOfA(j)[i];
            column += looksRounded(entry) ? 2 * std::abs(entry * w[i]) : 0.0;
        }
        result += column * std::abs(direction[j]);
    }
    return result;
}

/// Whether dᵀHd − 2wᵀEd is zero but for the rounding of entries that look rounded. Other data count
/// as given. There the curvature is measured by the slope: a direction without either, mixed into
/// d, hides a share of the slope, and the square of this share of the curvature.
bool isZero(const Sum& bend,
            const Sum& slope,
            const ProblemData& data,
            const Vector& direction,
            const Vector& w) {
    const double flat = FlatCurvature * bend.scale;
    const double value = magnitude(bend.value) - roundingOf(bend, 2 * data.n);
    const double share = slope.scale > 0.0 ? magnitude(slope.value) / slope.scale : 0.0;
    return value <= flat * share * share ||
           (value <= flat && value <= FlatCurvature * roundedTerms(data, direction, w));
}

}  // namespace

Ray judgeRay(const ProblemData& data, const Vector& direction) {
    Ray ray;
    const auto miss = [&ray](double residual, double scale) {
        ray.residual.absolute = std::max(ray.residual.absolute, residual);
        ray.residual.relative =
            std::max(ray.residual.relative, scale > 0.0 ? residual / scale : 0.0);
    };
    const auto missSides = [&](double value, double scale, double lower, double upper) {
        const double beyond =
            std::max(lower > -Infinity ? -value : 0.0, upper < Infinity ? value : 0.0);
        miss(beyond, scale);
        ray.meetsNoSide = ray.meetsNoSide && beyond <= SideRounding * scale;
    };
    const std::vector<Sum> rows = rowValues(data, direction);
    for (std::size_t i = 0; i < data.m; ++i) {
        missSides(static_cast<double>(rows[i].value), rows[i].scale, data.rowLower[i],
                  data.rowUpper[i]);
    }
    for (std::size_t j = 0; j < data.n; ++j) {
        missSides(direction[j], 0.0, data.lower[j], data.upper[j]);
    }
    const Equalities equalities(data);
    const std::vector<Sum> curved = curvedSums(data, direction);
    const Taken taken = takenUp(data, equalities, curved);
    Sum slope;
    Sum bend;
    for (std::size_t j = 0; j < data.n; ++j) {
        slope.add(Extended(data.c[j]) * direction[j]);
        bend.value += curved[j].value * direction[j];
        bend.scale += curved[j].scale * std::abs(direction[j]);
    }
    for (const std::size_t j : equalities.free) {
        miss(magnitude(taken.remainder[j].value), taken.remainder[j].scale);
        ray.missed += magnitude(taken.remainder[j].value);
    }
    for (const std::size_t j : equalities.variables) {
        slope.add(taken.remainder[j].value * data.lower[j]);
    }
    for (const std::size_t i : equalities.rows) {
        slope.add(Extended(taken.rows[i]) * data.rowLower[i]);
        bend.value -= rows[i].value * 2 * taken.rows[i];
        bend.scale += 2 * rows[i].scale * std::abs(taken.rows[i]);
    }
    ray.isFlat = isZero(bend, slope, data, direction, taken.rows);
    ray.slope = static_cast<double>(slope.value);
    ray.scale = slope.scale;
    return ray;
}

bool holds(const Ray& ray, double tolerance, double variable) {
    constexpr double LeastDescent = 1e-13;
    constexpr double LeastReach = 1e6;
    return ray.isFlat && ray.meetsNoSide && ray.slope < -LeastDescent * ray.scale &&
           ray.slope < 0.0 && -ray.slope >= LeastReach * variable * ray.missed &&
           ray.residual.relative <= tolerance;
}

bool isDoubtful(const ProblemData& data, const Vector& direction) {
    const std::vector<Sum> rows = rowValues(data, direction);
    std::vector<std::size_t> along;
    bool isMissed = false;
    for (std::size_t i = 0; i < data.m; ++i) {
        const bool hasLower = data.rowLower[i] > -Infinity;
        const bool hasUpper = data.rowUpper[i] < Infinity;
        if ((hasLower || hasUpper) && magnitude(rows[i].value) <= SideRounding * rows[i].scale) {
            along.push_back(i);
            isMissed =
                isMissed || (hasLower && rows[i].value < 0.0) || (hasUpper && rows[i].value > 0.0);
        }
    }
    if (!isMissed) {
        return false;
    }
    Dense columns(data.n, along.size());
    for (std::size_t j = 0; j < data.n; ++j) {
        for (std::size_t k = 0; k < along.size() && direction[j] != 0.0; ++k) {
            columns(j, k) = data.columnOfA(j)[along[k]];
        }
    }
    return PivotedQr(std::move(columns)).isNearlyDependent();
}

Vector alongSides(const ProblemData& data, Vector direction, SmallEntries small) {
    const bool areKept = small == SmallEntries::Kept;
    const double length = largestMagnitude(direction);
    std::vector<std::size_t> free;
    for (std::size_t j = 0; j < data.n; ++j) {
        const bool isBounded = data.lower[j] > -Infinity || data.upper[j] < Infinity;
        const bool isFixed = data.lower[j] > -Infinity && data.upper[j] < Infinity;
        const double least =
            (areKept && !isBounded ? NegligibleFreeEntry : NegligibleEntry) * length;
        if (isFixed || std::abs(direction[j]) <= least) {
            direction[j] = 0.0;
        } else {
            free.push_back(j);
        }
    }
    std::vector<std::size_t> along;
    std::vector<Sum> rows = rowValues(data, direction);
    for (std::size_t i = 0; i < data.m; ++i) {
        const bool isOneSided = data.rowLower[i] > -Infinity || data.rowUpper[i] < Infinity;
        if (isOneSided && magnitude(rows[i].value) <= NearlyAlong * rows[i].scale) {
            along.push_back(i);
        }
    }
    const bool isExact = std::all_of(along.begin(), along.end(), [&](std::size_t i) {
        return magnitude(rows[i].value) <= ExactlyAlong * rows[i].scale;
    });
    if (isExact) {
        return direction;
    }
    const PivotedQr qr(gradientsOf(data, along, free));
    for (int correction = 0; correction < 2; ++correction) {
        Vector step(std::max(free.size(), along.size()), 0.0);
        for (std::size_t k = 0; k < qr.rank(); ++k) {
            step[k] = static_cast<double>(rows[along[qr.pivot(k)]].value);
        }
        qr.solveTransposed(step.data());
        qr.apply(step.data());
        for (std::size_t j = 0; j < free.size(); ++j) {
            direction[free[j]] -= step[j];
        }
        rows = rowValues(data, direction);
    }
    return direction;
}

}  // namespace activeset::frontend
