// The primal and the dual objective of a point and its multipliers, in extended precision.
#ifndef ACTIVESET_SRC_FRONTEND_PROOF_OBJECTIVES_HPP
#define ACTIVESET_SRC_FRONTEND_PROOF_OBJECTIVES_HPP

#include <vector>

#include "frontend/problem/extended_sums.hpp"

namespace activeset::frontend {

/// The objective without the constant, and by how much it exceeds its lower bounds.
struct Objectives {
    Extended primal = 0;
    Extended gap = 0;        ///< to the dual objective of the multipliers as they are
    Extended slackness = 0;  ///< to the Lagrangian at x
    double rounding = 0.0;   ///< that slackness and the objective may contain
    double terms = 0.0;      ///< the size of what they are summed from

    /// @param rows    A·x
    /// @param curved  H·x
    Objectives(const ProblemData& data,
               const std::vector<Sum>& rows,
               const std::vector<Sum>& curved,
               const Point& point);
};

}  // namespace activeset::frontend

#endif
