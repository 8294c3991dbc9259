// The same problems through the C++ front end, with predicted and with cold starts.
#ifndef ACTIVESET_BENCHMARKS_FRONT_END_HPP
#define ACTIVESET_BENCHMARKS_FRONT_END_HPP

#include "activeset/qp.hpp"
#include "benchmarks/program.hpp"

namespace activeset::bench {

/// @raises std::runtime_error if the answer is no optimum; with `isInfeasible`, if it is not
/// infeasible
Result solveProved(const Program& program, activeset::Start start, bool isInfeasible = false);

}  // namespace activeset::bench

#endif
