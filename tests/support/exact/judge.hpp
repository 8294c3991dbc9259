// Whether a result of the front end is true, judged without rounding.
#ifndef ACTIVESET_TESTS_SUPPORT_EXACT_JUDGE_HPP
#define ACTIVESET_TESTS_SUPPORT_EXACT_JUDGE_HPP

#include <string>

#include "support/exact/truth.hpp"

namespace activeset::test::exact {

struct Verdict {
    std::string wrong{};          ///< empty where all that was claimed is true
    bool isInaccurate = false;    ///< nothing was claimed
    double objectiveError = 0.0;  ///< in proportion to the larger of 1 and the optimum
};

/// @param largestError  of the objective, in proportion to the larger of 1 and the optimum
Verdict judge(const Sample& sample, const Result& result, double largestError = 1e-8);

/// What a result claims beside its status, judged from its vectors alone: so also for problems too
/// large to be solved exactly. Empty where all of it holds.
///
/// @param tolerance  of the solve
std::string falseClaim(const Sample& sample,
                       const Result& result,
                       double tolerance = 1e-9,
                       double constant = 0.0);

}  // namespace activeset::test::exact

#endif
