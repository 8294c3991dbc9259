// What is measured together under one name and size: problems, and where a warm start begins.
#ifndef ACTIVESET_BENCHMARKS_CASES_HPP
#define ACTIVESET_BENCHMARKS_CASES_HPP

#include <string>
#include <vector>

#include "benchmarks/families.hpp"
#include "benchmarks/solve.hpp"

namespace activeset::bench {

/// random10, random30, random60 (the active share in per cent), box, svm, portfolio, mpc.
[[nodiscard]] const std::vector<std::string>& familyNames();

struct Case {
    std::string family{};
    std::vector<Problem> problems{};
    ControlChain chain{};  ///< without problems; its counts tell a chain from a family
};

/// Of small sizes several problems; of mpc, with the horizon n/2, a chain.
/// @raises std::invalid_argument for a name that is no family
[[nodiscard]] Case makeCase(const std::string& family, std::size_t n);

/// The starts of the warm solves: the problem's own solution, or in a chain that of the problem
/// before, a time step on. The first of a chain starts at its own solution.
[[nodiscard]] std::vector<Start> warmStarts(const Case& which, const std::vector<Outcome>& cold);

}  // namespace activeset::bench

#endif
