// Cases: the problems that are measured under one name and size, and their warm starts.
#ifndef ACTIVESET_BENCHMARKS_CASES_HPP
#define ACTIVESET_BENCHMARKS_CASES_HPP

#include <string>
#include <vector>

#include "benchmarks/families.hpp"
#include "benchmarks/solve.hpp"

namespace activeset::bench {

/// random10, random30, random60 (active constraints in per cent), box, svm, portfolio, mpc.
[[nodiscard]] const std::vector<std::string>& familyNames();

struct Case {
    std::string family{};
    std::vector<Problem> problems{};
    ControlChain chain{};  ///< empty unless the case is a chain
};

/// Several problems where n is small. For mpc a chain with the horizon n/2.
/// @raises std::invalid_argument if there is no family of this name
[[nodiscard]] Case makeCase(const std::string& family, std::size_t n);

/// The starts of the warm solves: the problem's own solution, or in a chain the solution of the
/// previous problem shifted by a time step. The first problem of a chain starts at its own
/// solution.
[[nodiscard]] std::vector<Start> warmStarts(const Case& which, const std::vector<Outcome>& cold);

}  // namespace activeset::bench

#endif
