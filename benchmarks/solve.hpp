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

/// What a solve may begin with beside the problem: a point and 1-based lists.
struct Start {
    std::vector<double> x{};
    std::array<std::vector<double>, 3> active{};  ///< inequalities, lower, upper bounds
};

struct Outcome {
    int state = 0;
    double value = 0.0;
    SolveReport passes{};
    Start point{};
    std::size_t active = 0;  ///< of all kinds, equalities included
};

/// The host arrays of a problem, made once. They belong to the scope that is open then.
class Call {
public:
    explicit Call(const Problem& problem) : Call(problem, {problem.x0}) {}
    Call(const Problem& problem, const Start& start);

    /// The solve alone; its results are destroyed.
    void operator()() const;
    /// The solve, and what came out. `solved` is called between the two.
    [[nodiscard]] Outcome outcome(const std::function<void()>& solved) const;

private:
    using Results = std::array<vxArray*, 8>;
    void run(Results& results) const;

    std::array<const vxArray*, 17> inputs_{};
};

}  // namespace activeset::bench

#endif
