// The point that violates the rows of an infeasible problem least, and by how much.
#ifndef ACTIVESET_RELAX_HPP
#define ACTIVESET_RELAX_HPP

#include "activeset/qp.hpp"

namespace activeset {

/// What is made as small as possible over the violations v_i, each times its weight.
enum class Norm {
    L1,   ///< Σ w_i·|v_i|: few rows give way
    L2,   ///< ½ Σ w_i·v_i²: all give way a little
    LInf  ///< max w_i·|v_i|
};

/// By which norm rows and bounds give way, and which of them may.
struct RelaxSettings {
    Norm norm = Norm::L1;  ///< of the weighted violations
    /// m, from 0 up; empty stands for 1. A row of infinite weight stays as it is.
    VectorView rowWeights{};
    /// n, likewise for bounds; empty stands for infinity: bounds stay.
    VectorView boundWeights{};
    Settings solve{};  ///< without a callback
};

/// A nearest feasible point. Violations are positive above the upper side, negative below the
/// lower one, as they are, without weights.
struct Relaxation {
    /// Optimal: proved to be nearest. Infeasible: what may not give way contradicts itself.
    Status status = Status::Failed;
    std::vector<double> x{};               ///< n; empty where none was found
    std::vector<double> rowViolation{};    ///< m
    std::vector<double> boundViolation{};  ///< n
    double distance = 0.0;                 ///< the norm of the violations
    std::vector<Fault> faults{};           ///< for Invalid

    /// Whether the point is proved to be nearest.
    explicit operator bool() const noexcept { return status == Status::Optimal; }
};

/// Lets rows give way until there is a feasible point, the objective being left out. A problem
/// that is feasible has the distance 0. Soft sides are left out as well: they give way anyway, and
/// are no reason for a problem to be infeasible.
///
/// @raises as solve
[[nodiscard]] ACTIVESET_API Relaxation relax(const Problem& problem,
                                             const RelaxSettings& settings = {});

}  // namespace activeset

#endif
