// One solve of a problem through the entry function, from host arrays to host arrays.
#ifndef ACTIVESET_BENCHMARKS_SOLVE_HPP
#define ACTIVESET_BENCHMARKS_SOLVE_HPP

#include <array>
#include <cstddef>
#include <functional>
#include <vector>

#include "activeset/driver.hpp"
#include "benchmarks/families.hpp"

namespace activeset::bench {

/// A start: a point, and 1-based lists of active constraints.
struct Start {
    std::vector<double> x{};
    std::array<std::vector<double>, 3> active{};  ///< inequalities, lower, upper bounds
};

struct Outcome {
    int state = 0;
    double value = 0.0;
    SolveReport passes{};
    Start point{};
    std::size_t active = 0;  ///< number of active constraints of all kinds, equalities included
};

/// The host arrays of a problem, made once. They belong to the scope that is open then.
class Call {
public:
    explicit Call(const Problem& problem) : Call(problem, {problem.x0}) {}
    Call(const Problem& problem, const Start& start);

    /// Solves, and destroys the results.
    void operator()() const;
    /// Solves and returns the results. Calls `solved` after the solve, before they are read.
    [[nodiscard]] Outcome outcome(const std::function<void()>& solved) const;

private:
    using Results = std::array<vxArray*, 8>;
    void run(Results& results) const;

    std::array<const vxArray*, 17> inputs_{};
};

}  // namespace activeset::bench

#endif
