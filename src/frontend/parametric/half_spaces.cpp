// Facets by linear programs in θ and the radius of a ball.
#include "frontend/parametric/half_spaces.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "activeset/qp.hpp"

namespace activeset::frontend {

bool Box::contains(const Vector& theta) const {
    for (std::size_t k = 0; k < size(); ++k) {
        if (!(theta[k] >= least[k] && theta[k] <= most[k])) {
            return false;
        }
    }
    return true;
}

double Box::shortestEdge() const {
    double shortest = Infinity;
    for (std::size_t k = 0; k < size(); ++k) {
        shortest = std::min(shortest, most[k] - least[k]);
    }
    return shortest;
}

void HalfSpaces::add(Vector normal, double side) {
    normals_.push_back(std::move(normal));
    sides_.push_back(side);
}

void HalfSpaces::keep(
    const Dense& rates, std::size_t k, double factor, double room, const Vector& theta) {
    constexpr double NegligibleRate = 1e-12;  // a rate that is rounding
    const std::size_t p = theta.size();
    Vector normal(p);
    double length = 0.0;
    for (std::size_t j = 0; j < p; ++j) {
        normal[j] = factor * rates(k, j);
        length = std::hypot(length, normal[j]);
    }
    if (!(length > NegligibleRate) || !std::isfinite(room)) {
        return;
    }
    double side = std::max(room, 0.0) / length;
    double farthest = -side;
    for (std::size_t j = 0; j < p; ++j) {
        normal[j] /= length;
        side += normal[j] * theta[j];
        farthest += std::max(normal[j] * (box_->least[j] - theta[j]),
                             normal[j] * (box_->most[j] - theta[j]));
    }
    if (farthest > 0.0) {
        add(std::move(normal), side);
    }
}

std::optional<Vector> HalfSpaces::facetCentre(std::size_t k) const {
    constexpr double LeastFacetRadius = 1e-8;  // of the shortest edge of the box
    const std::size_t p = box_->size();
    const std::size_t count = sides_.size();
    Dense A(count + 2 * p, p + 1);
    Vector lower(A.rows, -Infinity);
    Vector upper(A.rows, Infinity);
    Vector c(p + 1, 0.0);
    for (std::size_t i = 0; i < count; ++i) {
        double along = 0.0;
        for (std::size_t j = 0; j < p; ++j) {
            A(i, j) = normals_[i][j];
            along += normals_[i][j] * normals_[k][j];
        }
        // The ball is one of the facet's dimension.
        A(i, p) = i == k ? 0.0 : std::sqrt(std::max(0.0, 1.0 - along * along));
        upper[i] = sides_[i];
    }
    lower[k] = upper[k];
    for (std::size_t j = 0; j < p; ++j) {
        A(count + j, j) = A(count + p + j, j) = 1.0;
        A(count + j, p) = 1.0;
        A(count + p + j, p) = -1.0;
        upper[count + j] = box_->most[j];
        lower[count + p + j] = box_->least[j];
    }
    c[p] = -1.0;
    Vector least(p + 1, -Infinity);
    Vector most(p + 1, Infinity);
    least[p] = 0.0;
    most[p] = box_->shortestEdge();
    const Result result = solve({.c = c,
                                 .A = {A.values, A.rows, A.cols},
                                 .rowLower = lower,
                                 .rowUpper = upper,
                                 .lower = least,
                                 .upper = most});
    // In one dimension a facet is a point.
    if (!result || (p > 1 && result.x[p] < LeastFacetRadius * box_->shortestEdge())) {
        return std::nullopt;
    }
    return Vector(result.x.begin(), result.x.begin() + static_cast<std::ptrdiff_t>(p));
}

void HalfSpaces::removeRedundant() {
    for (std::size_t k = 0; k < sides_.size();) {
        if (facetCentre(k)) {
            ++k;
        } else {
            normals_.erase(normals_.begin() + static_cast<std::ptrdiff_t>(k));
            sides_.erase(sides_.begin() + static_cast<std::ptrdiff_t>(k));
        }
    }
}

}  // namespace activeset::frontend
