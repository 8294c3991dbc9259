// The parts from which the kinds of problems are made.
#ifndef ACTIVESET_BENCHMARKS_FREEZE_CONSTRUCTION_HPP
#define ACTIVESET_BENCHMARKS_FREEZE_CONSTRUCTION_HPP

#include <cstddef>
#include <vector>

#include "benchmarks/program.hpp"
#include "benchmarks/random_numbers.hpp"

namespace activeset::bench {

/// The properties of a random problem with a known optimum.
struct Shape {
    std::size_t n = 0;
    std::size_t m = 0;
    double equalities = 0.1;  ///< share of the rows
    double active = 0.3;      ///< share of the other rows and of the bounds that is active
    double multiplied = 1.0;  ///< share of the active ones with a multiplier
    double bounded = 0.6;     ///< share of the variables with bounds
    bool integral = false;    ///< all data are small integers
};

/// A size from 2 to 12, from 2 to 60, or, rarely, from 100 to 200.
[[nodiscard]] std::size_t anySize(RandomNumbers& random);

/// Numbers with mean 0 and variance 1, or integers from −3 to 3.
[[nodiscard]] std::vector<double> numbers(std::size_t count, bool integral, RandomNumbers& random);

/// M·Mᵀ/n, or M·Mᵀ of integers, of the given rank, plus ridge·I.
[[nodiscard]] std::vector<double> hessian(
    std::size_t n, std::size_t rank, double ridge, bool integral, RandomNumbers& random);

/// H with eigenvalues from 1 down to 1/condition.
[[nodiscard]] std::vector<double> conditionedHessian(std::size_t n,
                                                     double condition,
                                                     RandomNumbers& random);

/// A problem with this H and, if `rows` is not empty, with these m × n rows. A point and
/// multipliers are drawn first; the sides then make the point feasible, and c makes it optimal.
[[nodiscard]] Program programWithOptimum(const Shape& shape,
                                         std::vector<double> H,
                                         std::vector<double> rows,
                                         RandomNumbers& random);

/// Appends a row.
void appendRow(Program& program, const std::vector<double>& row, double lower, double upper);

}  // namespace activeset::bench

#endif
