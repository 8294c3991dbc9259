// The cost of soft sides: predictive control with all rows hard, with all rows soft, and with slack
// variables. Prints microseconds per problem, the median over rounds.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "activeset/qp.hpp"
#include "benchmarks/families.hpp"
#include "benchmarks/stopwatch.hpp"

namespace activeset::bench {

namespace {

using Numbers = std::vector<double>;

constexpr std::size_t Steps = 50;
constexpr std::size_t Rounds = 9;
constexpr std::uint64_t Seed = 1;

activeset::Problem viewOf(const Problem& p) {
    return {.H = {p.H, p.n, p.n},
            .c = p.c,
            .A = {p.A, p.mIneq, p.n},
            .rowUpper = p.b,
            .lower = p.lb,
            .upper = p.ub};
}

/// The same problem with slack variables: a·x − s ≤ b for each row, s ≥ 0.
Problem withSlacks(const Problem& p, double linear, double quadratic) {
    Problem slack;
    slack.n = p.n + p.mIneq;
    slack.mIneq = p.mIneq;
    slack.H.assign(slack.n * slack.n, 0.0);
    for (std::size_t k = 0; k < p.n * p.n; ++k) {
        slack.H[k / p.n * slack.n + k % p.n] = p.H[k];
    }
    slack.c = p.c;
    slack.A = p.A;
    slack.b = p.b;
    slack.lb = p.lb;
    slack.ub = p.ub;
    slack.A.resize(slack.n * slack.mIneq, 0.0);
    for (std::size_t i = 0; i < p.mIneq; ++i) {
        slack.A[(p.n + i) * p.mIneq + i] = -1.0;
        slack.H[(p.n + i) * (slack.n + 1)] = quadratic;
        slack.c.push_back(linear);
        slack.lb.push_back(0.0);
        slack.ub.push_back(Infinity);
    }
    return slack;
}

/// Microseconds per problem; `solved` counts optima.
double solveAll(const std::vector<activeset::Problem>& problems, std::size_t& solved) {
    Stopwatch stopwatch;
    for (std::size_t round = 0; round < Rounds; ++round) {
        stopwatch.sample([&] {
            solved = 0;
            for (const activeset::Problem& problem : problems) {
                solved += solve(problem) ? 1U : 0U;
            }
        });
    }
    return 1e6 * stopwatch.seconds() / Steps;
}

void measure(std::size_t n, double linear, double quadratic, double tightening) {
    ControlChain chain = controlChain(n / 2, Steps, Seed);
    std::vector<Problem> slacks;
    std::vector<activeset::Problem> hard;
    std::vector<activeset::Problem> soft;
    std::vector<activeset::Problem> bySlacks;
    const std::size_t m = chain.problems[0].mIneq;
    const Numbers l(m, linear);
    const Numbers q(m, quadratic);
    for (Problem& problem : chain.problems) {
        for (double& side : problem.b) {
            side -= tightening;
        }
        slacks.push_back(withSlacks(problem, linear, quadratic));
    }
    std::size_t violated = 0;
    for (std::size_t k = 0; k < Steps; ++k) {
        hard.push_back(viewOf(chain.problems[k]));
        soft.push_back(hard.back());
        soft.back().rowPenalty.upperLinear = l;
        soft.back().rowPenalty.upperQuadratic = q;
        bySlacks.push_back(viewOf(slacks[k]));
        violated += solve(soft.back()).workingSet.softViolated.size();
    }
    std::size_t solved[3] = {};
    const double times[] = {solveAll(hard, solved[0]), solveAll(soft, solved[1]),
                            solveAll(bySlacks, solved[2])};
    std::printf("%4zu %4zu %8g %8g %6g  %8.1f %3zu  %8.1f %3zu  %8.1f %3zu  %5.2f %6.2f  %5.1f\n",
                n, m, linear, quadratic, tightening, times[0], solved[0], times[1], solved[1],
                times[2], solved[2], times[1] / times[0], times[2] / times[0],
                static_cast<double>(violated) / Steps);
}

}  // namespace

}  // namespace activeset::bench

int main(int argc, char** argv) {
    const std::size_t n = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 20;
    std::puts(
        "   n    m   linear quadrat. tight.   hard us  ok   soft us  ok  slack us  ok   soft  "
        "slacks violated");
    for (const double tightening : {0.0, 0.3, 0.6}) {
        for (const auto& [linear, quadratic] :
             {std::pair(1e4, 0.0), std::pair(0.3, 0.0), std::pair(0.0, 1e3)}) {
            activeset::bench::measure(n, linear, quadratic, tightening);
        }
    }
    return EXIT_SUCCESS;
}
