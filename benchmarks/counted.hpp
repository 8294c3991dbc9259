// Solves with counted work and checked answers.
#ifndef ACTIVESET_BENCHMARKS_COUNTED_HPP
#define ACTIVESET_BENCHMARKS_COUNTED_HPP

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "benchmarks/cases.hpp"
#include "benchmarks/solve.hpp"

namespace activeset::bench {

[[nodiscard]] inline double over(double sum, std::size_t count) {
    return sum / static_cast<double>(count);
}

/// Solves every problem once, counts the work and checks the outcomes. The counts, divided by the
/// number of problems, go into `line` under names that begin with `prefix`.
/// @raises std::runtime_error if a problem is not solved
[[nodiscard]] std::vector<Outcome> countedOutcomes(const std::vector<Call>& calls,
                                                   const std::vector<Problem>& problems,
                                                   const std::string& prefix,
                                                   nlohmann::ordered_json& line);

}  // namespace activeset::bench

#endif
