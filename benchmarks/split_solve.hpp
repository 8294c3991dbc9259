// One solve through the classes with its phases timed, with or without updates of the reduced
// Hessian.
#ifndef ACTIVESET_BENCHMARKS_SPLIT_SOLVE_HPP
#define ACTIVESET_BENCHMARKS_SPLIT_SOLVE_HPP

#include "benchmarks/families.hpp"

namespace activeset::bench {

struct SplitTimes {
    double phaseOne = 0.0;  ///< from its first direction to the first one of the main loop
    double mainLoop = 0.0;  ///< from its first direction to the end
    double whole = 0.0;
    int phaseOnePasses = 0;
    int mainPasses = 0;
    double value = 0.0;  ///< value of the objective
};

/// @param isPlain  every direction pass forms ZᵀHZ and factorises it
[[nodiscard]] SplitTimes splitSolve(const Problem& problem, bool isPlain);

}  // namespace activeset::bench

#endif
