// Problems with soft sides: first as if all were hard, then from piece to piece.
#ifndef ACTIVESET_SRC_FRONTEND_SOFT_SOLVE_HPP
#define ACTIVESET_SRC_FRONTEND_SOFT_SOLVE_HPP

#include "frontend/sequence.hpp"
#include "frontend/soft/penalties.hpp"

namespace activeset::frontend {

/// The problem with all sides hard.
[[nodiscard]] Problem withoutPenalties(const Problem& problem);

/// Whether there is nothing more to do: the data have faults, or no multiplier of an optimum with
/// hard sides is above its penalty, so that it is the optimum with soft ones as well.
/// @pre the penalties have no faults
[[nodiscard]] bool isSettled(const Problem& problem, const Result& withHardSides);

/// Solves a problem whose penalties have no faults.
/// @param data    as for Sequence::solve
/// @param start   where to begin: at its working set, its violated sides and its point
/// @param first   the result with hard sides; null where a warm start violates some
/// @param pieces  solves the pieces; begins with the matrices of the problem
[[nodiscard]] Result solveSoft(const Problem& problem,
                               const ProblemData* data,
                               const WarmStart& start,
                               const Result* first,
                               Sequence& pieces,
                               const Settings& settings,
                               Control& control);

/// All that is wrong with a problem and settings.
[[nodiscard]] std::vector<Fault> allFaults(const Problem& problem, const Settings& settings);

}  // namespace activeset::frontend

#endif
