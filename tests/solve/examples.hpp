// Small problems with a known outcome, one for each way in which a call can end.
#ifndef ACTIVESET_TESTS_SOLVE_EXAMPLES_HPP
#define ACTIVESET_TESTS_SOLVE_EXAMPLES_HPP

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "solve/call.hpp"

namespace activeset::test {

/// The point of the triangle x ≥ 0, x1 + x2 ≤ 2 that is nearest to (3, 2): (1.5, 0.5). The row has
/// multiplier 1.5, the objective is −4.25, and the start is a corner.
inline Problem triangle() {
    return {.H = {{1, 0}, {0, 1}}, .c = {-3, -2}, .A = {{1, 1}}, .b = {2}, .lb = {0, 0}};
}

/// The same with a start that violates every constraint.
inline Problem triangleFromOutside() {
    Problem problem = triangle();
    problem.x0 = {-5, 9};
    return problem;
}

/// Minimises Σ(½x_k² − 10k·x_k) over 0 ≤ x ≤ 1. At x = 1 the objective is ½n − 5n(n + 1), and upper
/// bound k has the multiplier 10k − 1. From zero, every pass but the last adds one bound, that of
/// the last variable first.
inline Problem box(size_t n) {
    Problem problem{.H = Rows(n, Numbers(n, 0.0)),
                    .c = Numbers(n),
                    .lb = Numbers(n, 0.0),
                    .ub = Numbers(n, 1.0)};
    for (size_t k = 0; k < n; ++k) {
        problem.H[k][k] = 1.0;
        problem.c[k] = -10.0 * static_cast<double>(k + 1);
    }
    return problem;
}

inline Problem infeasible() {
    Problem problem = triangle();
    problem.A.push_back({-1, -1});
    problem.b.push_back(-3);
    return problem;
}

inline Problem contradiction() {
    Problem problem = triangle();
    problem.Aeq = {{1, 1}, {1, 1}};
    problem.beq = {1, 2};
    return problem;
}

/// Two equalities, one of them redundant, and a lower bound with multiplier 1. x = (2, 0).
inline Problem dependent() {
    return {.H = {{1, 0}, {0, 1}},
            .c = {-3, 0},
            .Aeq = {{1, 1}, {2, 2}},
            .beq = {2, 4},
            .lb = {-9, 0},
            .x0 = {7, 7}};
}

inline Problem flat() {
    Problem problem = triangle();
    problem.H = {{0, 0}, {0, 0}};
    return problem;
}

/// Takes many passes in both phases. (1, …, 1) satisfies the rows; the start violates most of them.
inline Problem longWay(std::uint32_t seed, size_t n, size_t rows) {
    std::mt19937 generator(seed);
    std::normal_distribution<double> normal;
    const auto row = [&] {
        Numbers result(n);
        std::generate(result.begin(), result.end(), [&] { return normal(generator); });
        return result;
    };
    Problem problem{.H = {}, .c = row(), .lb = Numbers(n, -2.0), .x0 = row()};
    for (size_t i = 0; i < n; ++i) {
        problem.H.emplace_back(n, 0.0)[i] = 1.0;
        problem.c[i] *= 50.0;
        problem.x0[i] *= 50.0;
    }
    for (size_t i = 0; i < rows + 3; ++i) {
        const bool isEquality = i < 3;
        (isEquality ? problem.Aeq : problem.A).push_back(row());
        const Numbers& added = (isEquality ? problem.Aeq : problem.A).back();
        const double sum = std::accumulate(added.begin(), added.end(), 0.0);
        (isEquality ? problem.beq : problem.b).push_back(isEquality ? sum : sum + 0.1);
    }
    return problem;
}

struct Example {
    std::string name;
    Problem problem;
    int state;
    Limits limits{};
    bool isInterrupted = false;
};

/// One example for each outcome of a call.
inline std::vector<Example> examples() {
    return {{"optimal", triangle(), ASQP::Optimal},
            {"optimal after phase one", triangleFromOutside(), ASQP::Optimal},
            {"dependent equalities", dependent(), ASQP::Optimal},
            {"iteration limit", box(5), ASQP::MaxIterReached, {2, 1e-6, 1e-8}},
            {"interrupted", triangle(), ASQP::Interrupted, {}, true},
            {"infeasible", infeasible(), ASQP::Infeasible},
            {"contradiction", contradiction(), ASQP::DependentConstraints},
            {"not positive definite", flat(), ASQP::HessianNotPositiveDefinite}};
}

/// The interrupt flag is set while this object lives.
class PendingInterrupt {
public:
    explicit PendingInterrupt(bool isPending = true) {
        utInterruptState::flags_pending = isPending ? 1 : 0;
    }
    ~PendingInterrupt() { utInterruptState::flags_pending = 0; }
    PendingInterrupt(const PendingInterrupt&) = delete;
    PendingInterrupt(PendingInterrupt&&) = delete;
    PendingInterrupt& operator=(const PendingInterrupt&) = delete;
    PendingInterrupt& operator=(PendingInterrupt&&) = delete;
};

}  // namespace activeset::test

#endif
