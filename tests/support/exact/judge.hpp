// Judges results of the front end without rounding.
#ifndef ACTIVESET_TESTS_SUPPORT_EXACT_JUDGE_HPP
#define ACTIVESET_TESTS_SUPPORT_EXACT_JUDGE_HPP

#include <string>

#include "support/exact/truth.hpp"

namespace activeset::test::exact {

struct Verdict {
    std::string wrong{};          ///< empty if all claims are true
    bool isInaccurate = false;    ///< the result claims nothing
    double objectiveError = 0.0;  ///< relative to the larger of 1 and the optimum
};

/// @param largestError  of the objective, relative to the larger of 1 and the optimum
Verdict judge(const Sample& sample, const Result& result, double largestError = 1e-8);

/// Judges what a result claims from its vectors only, so also for problems that are too large to be
/// solved exactly. Empty if all claims hold.
///
/// @param tolerance  that of the solve
std::string falseClaim(const Sample& sample,
                       const Result& result,
                       double tolerance = 1e-9,
                       double constant = 0.0);

}  // namespace activeset::test::exact

#endif
