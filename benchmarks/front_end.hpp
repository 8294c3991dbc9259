// The same problems through the C++ front end: predicted and cold starts, proofs included.
#ifndef ACTIVESET_BENCHMARKS_FRONT_END_HPP
#define ACTIVESET_BENCHMARKS_FRONT_END_HPP

#include <cstddef>
#include <vector>

#include "activeset/qp.hpp"
#include "benchmarks/families.hpp"

namespace activeset::bench {

/// A problem as the front end takes it, with its rows in one matrix.
class FrontProblem {
public:
    explicit FrontProblem(const Problem& problem);

    /// Raises std::runtime_error unless the answer is proved.
    Result solve(activeset::Start start) const;

private:
    const Problem* problem_;
    std::vector<double> A_;
    std::vector<double> lower_;
    std::vector<double> upper_;
};

}  // namespace activeset::bench

#endif
