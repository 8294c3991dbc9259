// The pieces that the kinds of problems are made of.
#ifndef ACTIVESET_BENCHMARKS_FREEZE_CONSTRUCTION_HPP
#define ACTIVESET_BENCHMARKS_FREEZE_CONSTRUCTION_HPP

#include <cstddef>
#include <vector>

#include "benchmarks/program.hpp"
#include "benchmarks/random_numbers.hpp"

namespace activeset::bench {

/// What a problem with a known optimum is drawn from.
struct Shape {
    std::size_t n = 0;
    std::size_t m = 0;
    double equalities = 0.1;  ///< share of the rows
    double active = 0.3;      ///< share of the other rows and of the bounds
    double multiplied = 1.0;  ///< share of those that have a multiplier
    double bounded = 0.6;     ///< share of the variables
    bool integral = false;    ///< small integers everywhere
};

/// 2 to 12, or to 60, or, seldom, from 100 to 200.
[[nodiscard]] std::size_t anySize(RandomNumbers& random);

/// n numbers of mean 0 and variance 1, or integers from −3 to 3.
[[nodiscard]] std::vector<double> numbers(std::size_t count, bool integral, RandomNumbers& random);

/// M·Mᵀ/n (M·Mᵀ of integers) of this rank and `ridge` on the diagonal.
[[nodiscard]] std::vector<double> hessian(
    std::size_t n, std::size_t rank, double ridge, bool integral, RandomNumbers& random);

/// H with eigenvalues from 1 down to 1/condition.
[[nodiscard]] std::vector<double> conditionedHessian(std::size_t n,
                                                     double condition,
                                                     RandomNumbers& random);

/// A problem with this H and, where `rows` is not empty, these m × n rows. A point and multipliers
/// are drawn first, the sides so that the point is feasible, c so that it is an optimum.
[[nodiscard]] Program programWithOptimum(const Shape& shape,
                                         std::vector<double> H,
                                         std::vector<double> rows,
                                         RandomNumbers& random);

/// One more row.
void appendRow(Program& program, const std::vector<double>& row, double lower, double upper);

}  // namespace activeset::bench

#endif
