// Families of strictly convex problems to measure with, made from a size and a seed, bit for bit
// the same on every machine.
#ifndef ACTIVESET_BENCHMARKS_FAMILIES_HPP
#define ACTIVESET_BENCHMARKS_FAMILIES_HPP

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace activeset::bench {

/// Dense and column-major, as the entry function takes it. Absent bounds are infinite.
struct Problem {
    std::size_t n = 0;
    std::size_t mIneq = 0;
    std::size_t mEq = 0;
    std::vector<double> H{};
    std::vector<double> c{};
    std::vector<double> A{};
    std::vector<double> b{};
    std::vector<double> Aeq{};
    std::vector<double> beq{};
    std::vector<double> lb{};
    std::vector<double> ub{};
    std::vector<double> x0{};
    std::optional<double> optimum{};  ///< its objective, where the construction tells
};

/// n inequalities, n/10 equalities, bounds on all variables. `share`·n of the inequalities and
/// bounds are active at the optimum, which is chosen first. The start is the box's point nearest to
/// zero, in general infeasible.
[[nodiscard]] Problem randomProblem(std::size_t n, double share, std::uint64_t seed);

/// Bounds on all variables, nothing else; about half of them active. The start is zero, inside.
[[nodiscard]] Problem boxProblem(std::size_t n, std::uint64_t seed);

/// The dual of a support-vector machine: n samples of two overlapping classes, a Gaussian kernel,
/// one equality and a box. The start is zero, a corner.
[[nodiscard]] Problem supportVectorProblem(std::size_t n, std::uint64_t seed);

/// Mean against variance over n assets with the covariance of n/10 factors (at least 2): a budget,
/// no short positions, no position above a limit. The start has equal weights.
[[nodiscard]] Problem portfolioProblem(std::size_t n, std::uint64_t seed);

/// Input forces of a chain of masses and springs, and how many of them belong to one time step.
struct ControlChain {
    std::size_t inputs = 0;   ///< variables a time step
    std::size_t outputs = 0;  ///< inequalities a time step
    std::vector<Problem> problems{};
};

/// Predictive control over `horizon` time steps, one problem for each of `steps` steps along a
/// disturbed trajectory: inputs bounded, positions limited from both sides. Only c and b differ.
[[nodiscard]] ControlChain controlChain(std::size_t horizon, std::size_t steps, std::uint64_t seed);

}  // namespace activeset::bench

#endif
