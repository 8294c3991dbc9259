// Small problems on which solvers tend to fail. All data are small integers times powers of two,
// except for tiny changes that some styles add: ties are ties, and dependent rows are exactly
// dependent.
#ifndef ACTIVESET_TESTS_SUPPORT_STYLES_HPP
#define ACTIVESET_TESTS_SUPPORT_STYLES_HPP

#include <array>
#include <functional>
#include <optional>

#include "support/choices.hpp"
#include "support/sample.hpp"

namespace activeset::test {

enum class Style {
    Integers,        ///< of every kind: singular H, seldom an indefinite one, redundant rows
    Degenerate,      ///< more sides than variables meet at a point; rows depend on one another
    NearParallel,    ///< rows that differ by 2⁻⁶ to 2⁻³⁰
    Products,        ///< products of fixed variables with others: convex only on the equalities
    LowRank,         ///< all data depend on a few linear combinations of the variables
    FarStart,        ///< a start with entries of 1e14 and 1e16
    TinyCosts,       ///< costs of 1e-9 on variables with bounds of 1e12
    LargeBounds,     ///< bounds of 1e7, 1e8 and 1e9, as people write for infinity
    HugeBounds,      ///< bounds of 1e12
    NearSingular,    ///< eigenvalues of H below 2⁻²⁵ of the largest
    Infeasible,      ///< a few rows contradict one another
    Unbounded,       ///< mostly along an integer direction
    Contradictions,  ///< rows that contradict one another by 1 to 1e-8, starts up to 1e9
    JumpingCosts,    ///< a sequence: costs times 1e10 to 1e20, and back
    NonsenseStart,   ///< a warm start that makes no sense
    Wedges           ///< rows through a point, many opposite to others but for 1e-3 to 1e-13
};

inline constexpr std::array StyleNames{
    "integers",       "degenerate",    "near-parallel",  "products",      "low-rank",   "far-start",
    "tiny-costs",     "large-bounds",  "huge-bounds",    "near-singular", "infeasible", "unbounded",
    "contradictions", "jumping-costs", "nonsense-start", "wedges"};

struct StyledCase {
    Sample sample;
    std::optional<WarmStart> warmStart{};
    std::vector<Numbers> costs{};  ///< costs of a sequence, after sample.c

    /// Solves it and calls `tell` for every problem and its result.
    void solve(const Settings& settings,
               const std::function<void(const Sample&, const Result&)>& tell) const;
};

/// A problem with at most `largest` variables and `largest` + 2 rows.
StyledCase caseOf(Style style, Choices& choices, std::size_t largest);

}  // namespace activeset::test

#endif
