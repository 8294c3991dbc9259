// The optimality conditions of an optimum in all variables and constraints, solved by its factors.
#ifndef ACTIVESET_SRC_FRONTEND_PARAMETRIC_IMPLICIT_HPP
#define ACTIVESET_SRC_FRONTEND_PARAMETRIC_IMPLICIT_HPP

#include "activeset/sensitivity.hpp"
#include "frontend/algebra/dense.hpp"
#include "frontend/parametric/kkt_factor.hpp"
#include "frontend/parametric/optimum.hpp"

namespace activeset::frontend {

/// Columns of n, m and n entries. Rows and bounds that are not held have 0.
struct Triple {
    Triple(std::size_t n, std::size_t m, std::size_t count)
        : x(n, count), y(m, count), z(n, count) {}

    Dense x;
    Dense y;
    Dense z;
};

class Implicit {
public:
    explicit Implicit(Optimum optimum);

    [[nodiscard]] const Optimum& optimum() const { return optimum_; }
    [[nodiscard]] const KktFactor& factor() const { return factor_; }

    /// Which derivative `solve` gives.
    [[nodiscard]] Derivative derivative() const;

    /// b := the solution of H·x + Aᵀy + z = b.x, A·x = b.y on held rows, x = b.z on held bounds,
    /// y and z 0 elsewhere; the entries of b there are ignored.
    void solve(Triple& b) const;

private:
    Optimum optimum_;
    KktFactor factor_;
};

}  // namespace activeset::frontend

#endif
