// Families of dense problems like those on which other solvers of the field were timed
// (field.csv), made from a size and a seed, bit for bit the same on every machine.
#ifndef ACTIVESET_BENCHMARKS_FIELD_FAMILIES_HPP
#define ACTIVESET_BENCHMARKS_FIELD_FAMILIES_HPP

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "benchmarks/families.hpp"

namespace activeset::bench::field {

/// H = MMᵀ/n + 0.01 with M of normal numbers, of condition about 400.
///
/// random10, random30, random60: n rows of normal numbers, n/10 equalities, all variables bounded;
/// that many per cent of n inequalities active at the optimum, half of them bounds.
/// box10, box50: bounds alone, that many per cent of them active.
/// tall: 20n rows, n/5 of them active, no bounds.
/// infeasible-rows: random30 and a row that contradicts the sum of three others by a tenth of its
/// norm; infeasible-bounds: one that contradicts the bounds of ten variables.
///
/// svm-C1, svm-C100: dual of a support-vector machine, ten features, a Gaussian kernel, 1e-8 on the
/// diagonal, one equality, a box up to C. linear-kernel: the same with a linear kernel, C = 1: H of
/// rank 10 plus 1e-8.
/// portfolio: covariance of n/20 factors, a budget, a least return, 0 ≤ x ≤ 0.1; n ≥ 20.
///
/// @raises std::invalid_argument for a name that is none of these
[[nodiscard]] Problem make(const std::string& family, std::size_t n, std::uint64_t seed);

/// How the next member of a sequence differs: c and b moved by 1 to 5 per cent, b upwards, so that
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
