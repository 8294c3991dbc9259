// Judges an answer in long double from the problem alone. Shares no code with the library.
#ifndef ACTIVESET_BENCHMARKS_FREEZE_JUDGE_HPP
#define ACTIVESET_BENCHMARKS_FREEZE_JUDGE_HPP

#include <string>

#include "benchmarks/program.hpp"

namespace activeset::bench {

/// What is wrong with the proof of an answer, in a few words. Empty if the proof holds, and if the
/// status claims nothing.
///
/// Residuals of a point and its multipliers may be up to `tolerance` times the sizes of their
/// terms, but at least `tolerance`; those of a ray only the former. A Farkas vector must exclude
/// all points with entries up to 1e5.
[[nodiscard]] std::string objectionTo(const Program& program,
                                      const Result& result,
                                      double tolerance);

/// The sum of the absolute values of the terms of the objective at x, at least 1.
[[nodiscard]] double objectiveScale(const Program& program, const std::vector<double>& x);

}  // namespace activeset::bench

#endif
