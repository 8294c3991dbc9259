// Kinds of problems that have an optimum.
#ifndef ACTIVESET_BENCHMARKS_FREEZE_SOLVABLE_HPP
#define ACTIVESET_BENCHMARKS_FREEZE_SOLVABLE_HPP

#include "benchmarks/freeze/construction.hpp"

namespace activeset::bench {

[[nodiscard]] Shape anyShape(RandomNumbers& random);

[[nodiscard]] Program strict(RandomNumbers& random);  ///< strictly convex
[[nodiscard]] Program box(RandomNumbers& random);
[[nodiscard]] Program semidefinite(RandomNumbers& random);
[[nodiscard]] Program linear(RandomNumbers& random);
/// Small integers: ties, dependent constraints and zero multipliers.
[[nodiscard]] Program integers(RandomNumbers& random);
/// At least 2n rows that are all active at the optimum.
[[nodiscard]] Program degenerate(RandomNumbers& random);
/// H of condition 1e6 or 1e10.
[[nodiscard]] Program conditioned(RandomNumbers& random);
/// Every second row equals its neighbour up to 1e-3 to 1e-13.
[[nodiscard]] Program parallel(RandomNumbers& random);
/// One equality is the sum of the others.
[[nodiscard]] Program dependent(RandomNumbers& random);
/// Linear kernels: H has rank 1 to 5 plus 1e-8 on the diagonal.
[[nodiscard]] Program lowRank(RandomNumbers& random);
/// 20n rows.
[[nodiscard]] Program tall(RandomNumbers& random);
/// Units of rows and variables differ by up to eight powers of ten.
[[nodiscard]] Program scaled(RandomNumbers& random);
/// One to three variables, few constraints, some variables fixed.
[[nodiscard]] Program tiny(RandomNumbers& random);
[[nodiscard]] Program supportVectors(RandomNumbers& random);
[[nodiscard]] Program portfolio(RandomNumbers& random);

}  // namespace activeset::bench

#endif
