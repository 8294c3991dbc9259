// The optimality conditions of an optimum in all variables and constraints, solved by its factors.
#ifndef ACTIVESET_SRC_FRONTEND_PARAMETRIC_IMPLICIT_HPP
#define ACTIVESET_SRC_FRONTEND_PARAMETRIC_IMPLICIT_HPP

#include <optional>

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
    /// @param factors  Kept: those that the optimum has kept, if there are any
    enum class Factors { Kept, New };
    /// @param optimum  its members are those of the working set, unless factors are New
    explicit Implicit(Optimum optimum, Factors factors = Factors::New);

    [[nodiscard]] const Optimum& optimum() const { return optimum_; }
    /// As those of KktFactor.
    [[nodiscard]] std::size_t dependent() const { return factor_ ? factor_->dependent() : 0; }
    [[nodiscard]] std::size_t flat() const { return factor_ ? factor_->flat() : 0; }
    [[nodiscard]] bool isRegular() const { return dependent() + flat() == 0; }

    /// Which derivative `solve` gives.
    [[nodiscard]] Derivative derivative() const;

    /// b := the solution of H·x + Aᵀy + z = b.x, A·x = b.y on held rows, x = b.z on held bounds,
    /// y and z 0 elsewhere; the entries of b there are ignored.
    void solve(Triple& b) const;

private:
    void solveByKept(Triple& b) const;
    void solveByFactor(Triple& b) const;

    Optimum optimum_;
    const WorkingSystem* kept_;
    std::optional<KktFactor> factor_;  // unless there is a kept one
};

}  // namespace activeset::frontend

#endif
