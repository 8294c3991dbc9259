// Polyhedra of parameters inside a box, by their half-spaces.
#ifndef ACTIVESET_SRC_FRONTEND_PARAMETRIC_HALF_SPACES_HPP
#define ACTIVESET_SRC_FRONTEND_PARAMETRIC_HALF_SPACES_HPP

#include <cstddef>
#include <optional>
#include <vector>

#include "frontend/algebra/dense.hpp"

namespace activeset::frontend {

struct Box {
    Vector least;
    Vector most;

    [[nodiscard]] std::size_t size() const { return least.size(); }
    [[nodiscard]] bool contains(const Vector& theta) const;
    [[nodiscard]] double shortestEdge() const;
};

/// normals[k]·θ ≤ sides[k], normals of length 1.
class HalfSpaces {
public:
    /// @post the box has to outlive this
    explicit HalfSpaces(const Box& box) : box_(&box) {}

    [[nodiscard]] const std::vector<Vector>& normals() const { return normals_; }
    [[nodiscard]] const Vector& sides() const { return sides_; }
    void add(Vector normal, double side);
    /// Adds factor·row `k` of `rates`·(θ' − θ) ≤ room, unless it holds in the whole box.
    void keep(const Dense& rates, std::size_t k, double factor, double room, const Vector& theta);
    /// The centre of the largest ball on facet k; none where the facet is empty, up to rounding.
    [[nodiscard]] std::optional<Vector> facetCentre(std::size_t k) const;
    /// Takes out what has no facet.
    void removeRedundant();

private:
    const Box* box_;
    std::vector<Vector> normals_;
    Vector sides_;
};

}  // namespace activeset::frontend

#endif
