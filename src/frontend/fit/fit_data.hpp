// The data of a fit: their faults, and the smaller problem that is left after weights and an
// orthogonal factor.
#ifndef ACTIVESET_SRC_FRONTEND_FIT_FIT_DATA_HPP
#define ACTIVESET_SRC_FRONTEND_FIT_FIT_DATA_HPP

#include "activeset/least_squares.hpp"
#include "frontend/algebra/dense.hpp"
#include "frontend/core/control.hpp"

namespace activeset::frontend {

/// Householder's QR in packed columns, a panel at a time. Without columns it is the identity.
class PanelFactor {
public:
    /// Factorises the first `count` columns and applies Qᵀ to the others. `control` may end it
    /// between two panels; the factor must not be used then.
    void factorise(Dense matrix, std::size_t count, Control& control);

    [[nodiscard]] const Dense& packed() const { return packed_; }
    /// v := Qᵀv, v := Q·v.
    void applyTransposed(Vector& v) const;
    void apply(Vector& v) const;

private:
    void applyPanel(std::size_t first, bool isTransposed, Vector& v) const;

    Dense packed_;
    Vector scales_;
    std::size_t width_ = 0;  // of a panel
};

/// R = Q·[T; 0], Qᵀs = [t; …], ½‖R·x − s‖² = ½‖T·x − t‖² + rest.
struct Fit {
    Dense R;  ///< k × n, weighted
    Vector s;
    PanelFactor Q;
    Dense T;  ///< upper triangular, n × n, where R has more rows than columns; else R
    Vector t;
    double rest = 0.0;
};

/// The problem with the constraints of a fit and no objective. It keeps a view of `zeros`, n
/// entries.
[[nodiscard]] Problem constraintsOf(const LeastSquares& problem, const Vector& zeros);

/// All mistakes in the parts of the objective.
[[nodiscard]] std::vector<Fault> faultsOfFit(const LeastSquares& problem);

/// Forms R and s, multiplied by a root of W.
/// @pre no faults
/// @post false where W is not positive definite
[[nodiscard]] bool takeIn(const LeastSquares& problem, Fit& fit);

/// Forms Q, T, t and rest. They must not be used if `control` has ended it.
void reduce(Fit& fit, Control& control);

}  // namespace activeset::frontend

#endif
