// Families of strictly convex problems for measurements. A problem depends on size and seed only,
// and has the same bits on every machine.
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
    std::optional<double> optimum{};  ///< the optimal objective, if the construction gives it
};

/// n inequalities, n/10 equalities, bounds on all variables. The optimum is chosen first; share·n
/// of the inequalities and bounds are active there. The start is the point of the box that is
/// nearest to zero, which is infeasible in general.
[[nodiscard]] Problem randomProblem(std::size_t n, double share, std::uint64_t seed);

/// Only bounds, on all variables; about half of them are active. The start is zero, inside the box.
[[nodiscard]] Problem boxProblem(std::size_t n, std::uint64_t seed);

/// The dual of a support-vector machine: n samples of two overlapping classes, a Gaussian kernel,
/// one equality and a box. The start is zero, a vertex.
[[nodiscard]] Problem supportVectorProblem(std::size_t n, std::uint64_t seed);

/// Mean and variance of n assets, with the covariance of n/10 factors (at least 2): a budget, no
/// short positions, a limit on each position. The start has equal weights.
[[nodiscard]] Problem portfolioProblem(std::size_t n, std::uint64_t seed);

/// Input forces of a chain of masses and springs, and the sizes of one time step.
struct ControlChain {
    std::size_t inputs = 0;   ///< variables per time step
    std::size_t outputs = 0;  ///< inequalities per time step
    std::vector<Problem> problems{};
};

/// Predictive control over `horizon` time steps: one problem for each of `steps` steps along a
/// disturbed trajectory. Inputs are bounded, positions limited on both sides. Problems differ in c
/// and b only.
[[nodiscard]] ControlChain controlChain(std::size_t horizon, std::size_t steps, std::uint64_t seed);

}  // namespace activeset::bench

#endif
