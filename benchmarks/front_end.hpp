// The same problems through the C++ front end: predicted and cold starts, proofs included.
#ifndef ACTIVESET_BENCHMARKS_FRONT_END_HPP
#define ACTIVESET_BENCHMARKS_FRONT_END_HPP

#include "activeset/qp.hpp"
#include "benchmarks/program.hpp"

namespace activeset::bench {

/// Raises std::runtime_error unless the answer is an optimum, or, with `isInfeasible`, that there
/// is no feasible point.
Result solveProved(const Program& program, activeset::Start start, bool isInfeasible = false);

}  // namespace activeset::bench

#endif
