// Small problems of the kinds on which solvers go wrong. Apart from the tiny changes that some
// kinds add on purpose all data are small integers times powers of two: ties are ties, what depends
// on something else does so exactly.
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
    Products,        ///< of fixed variables with others: convex on the equalities only
    LowRank,         ///< all data depend on a few combinations of the variables
    FarStart,        ///< entries of 1e14 and 1e16
    TinyCosts,       ///< of 1e-9 on variables with bounds of 1e12
    LargeBounds,     ///< of 1e7, 1e8 and 1e9, where people mean none
    HugeBounds,      ///< of 1e12
    NearSingular,    ///< eigenvalues of H below 2⁻²⁵ of the largest
    Infeasible,      ///< a few rows contradict one another
    Unbounded,       ///< along an integer direction, mostly
    Contradictions,  ///< rows that miss one another by 1 to 1e-8, starts up to 1e9
    JumpingCosts,    ///< a sequence: times 1e10 to 1e20, and back
    NonsenseStart    ///< a warm start without sense
};

inline constexpr std::array StyleNames{
    "integers",   "degenerate", "near-parallel",  "products",      "low-rank",
    "far-start",  "tiny-costs", "large-bounds",   "huge-bounds",   "near-singular",
    "infeasible", "unbounded",  "contradictions", "jumping-costs", "nonsense-start"};

struct StyledCase {
    Sample sample;
    std::optional<WarmStart> warmStart{};
    std::vector<Numbers> costs{};  ///< of a sequence, after sample.c

    /// Solves it; tells of every problem on the way and of its result.
    void solve(const Settings& settings,
               const std::function<void(const Sample&, const Result&)>& tell) const;
};

/// A problem with up to `largest` variables and two more rows.
StyledCase caseOf(Style style, Choices& choices, std::size_t largest);

}  // namespace activeset::test

#endif
