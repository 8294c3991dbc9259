// Families of dense problems similar to those on which other solvers were timed (field.csv). A
// problem depends on size and seed only, and has the same bits on every machine.
#ifndef ACTIVESET_BENCHMARKS_FIELD_FAMILIES_HPP
#define ACTIVESET_BENCHMARKS_FIELD_FAMILIES_HPP

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "benchmarks/families.hpp"

namespace activeset::bench::field {

/// H = MMᵀ/n + 0.01·I with M of normal numbers; its condition number is about 400.
///
/// random10, random30, random60: n rows of normal numbers, n/10 equalities, bounds on all
/// variables. As many inequalities as that percentage of n are active at the optimum, half of them
/// bounds.
/// box10, box50: only bounds; that percentage of them is active.
/// tall: 20n rows, n/5 of them active, no bounds.
/// infeasible-rows: random30 and a row that contradicts the sum of three others by a tenth of its
/// norm.
/// infeasible-bounds: random30 and a row that contradicts the bounds of ten variables.
///
/// svm-C1, svm-C100: the dual of a support-vector machine with ten features, a Gaussian kernel,
/// 1e-8 on the diagonal, one equality, a box up to C.
/// linear-kernel: the same with a linear kernel and C = 1, so that H has rank 10 apart from 1e-8·I.
/// portfolio: covariance of n/20 factors, a budget, a least return, 0 ≤ x ≤ 0.1; n ≥ 20.
///
/// @raises std::invalid_argument if there is no family of this name
[[nodiscard]] Problem make(const std::string& family, std::size_t n, std::uint64_t seed);

/// The change to the next member of a sequence: c and b move by 1 to 5 per cent, b upwards, so that
/// the optimum of `problem` stays feasible.
struct Step {
    std::vector<double> c{};
    std::vector<double> b{};
};
[[nodiscard]] std::vector<Step> sequence(const Problem& problem,
                                         std::size_t steps,
                                         std::uint64_t seed);

}  // namespace activeset::bench::field

#endif
