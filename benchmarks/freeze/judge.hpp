// Judges an answer in long double, from the problem alone; shares nothing with the library.
#ifndef ACTIVESET_BENCHMARKS_FREEZE_JUDGE_HPP
#define ACTIVESET_BENCHMARKS_FREEZE_JUDGE_HPP

#include <string>

#include "benchmarks/program.hpp"

namespace activeset::bench {

/// What is wrong with the proof of an answer, in a few words; empty for a proof that holds, and for
/// a status that claims nothing.
///
/// Residuals of a point and of its multipliers may be `tolerance` times the terms of their sums, or
/// times 1 where these are smaller; those of a ray `tolerance` times the terms alone. A Farkas
/// vector has to exclude all points with entries up to 1e5.
[[nodiscard]] std::string objectionTo(const Program& program,
                                      const Result& result,
                                      double tolerance);

/// What the objective at x is the sum of, in absolute values, at least 1.
[[nodiscard]] double objectiveScale(const Program& program, const std::vector<double>& x);

}  // namespace activeset::bench

#endif
