// How far each number of a problem may move, alone, before the working set of its optimum changes.
#ifndef ACTIVESET_RANGES_HPP
#define ACTIVESET_RANGES_HPP

#include <vector>

#include "activeset/qp.hpp"

namespace activeset {

/// The values that one number may have while the working set stays that of an optimum.
struct Range {
    double value = 0.0;             ///< as the problem has it; infinite for a side that is absent
    double least = 0.0;             ///< may be −∞
    double most = 0.0;              ///< may be ∞
    double objectiveAtLeast = 0.0;  ///< the optimal value there; its limit at an infinite end
    double objectiveAtMost = 0.0;   ///< likewise at the other end
    /// One end, or both, is where the number is: there the working set changes at once, because a
    /// multiplier or a slack is 0, members depend on one another or the optimum is not unique.
    bool isDegenerate = false;
};

/// For each number a range, in the order of the problem. An equality moves with both sides, which
/// have the same range; a fixed variable likewise.
struct Ranges {
    std::vector<Range> c{};         ///< n
    std::vector<Range> rowLower{};  ///< m
    std::vector<Range> rowUpper{};  ///< m
    std::vector<Range> lower{};     ///< n
    std::vector<Range> upper{};     ///< n
    /// Rows and variables on a side whose multiplier is 0 to rounding; ascending.
    std::vector<std::size_t> weakRows{};
    std::vector<std::size_t> weakBounds{};  ///< variables
};

/// O(n²(n + m)).
///
/// @raises std::invalid_argument when the problem has faults, the result is not optimal or its
///         point is not that of this problem; std::bad_alloc
[[nodiscard]] ACTIVESET_API Ranges ranges(const Result& result, const Problem& problem);

}  // namespace activeset

#endif
