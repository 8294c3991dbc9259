#include "benchmarks/solve.hpp"

#include <tuple>

namespace activeset::bench {

namespace {

const vxArray* array(const std::vector<double>& values, size_t rows, size_t cols) {
    return vxCreateDoubleMatrixFrom(values.data(), rows, cols);
}

const vxArray* column(const std::vector<double>& values) {
    return array(values, values.size(), 1);
}

std::vector<double> values(const vxArray* array) {
    return {vxGetDoubles(array), vxGetDoubles(array) + vxGetNumberOfElements(array)};
}

}  // namespace

Call::Call(const Problem& problem, const Start& start)
    : inputs_{array(problem.H, problem.n, problem.n),
              column(problem.c),
              array(problem.A, problem.mIneq, problem.n),
              column(problem.b),
              array(problem.Aeq, problem.mEq, problem.n),
              column(problem.beq),
              column(problem.lb),
              column(problem.ub),
              column(start.x),
              column(start.active[0]),
              column(start.active[1]),
              column(start.active[2]),
              vxCreateDoubleScalar(1e6),   // MaxIter
              vxCreateDoubleScalar(1e-6),  // TolCon
              vxCreateDoubleScalar(1e-6),  // TolFun
              vxCreateDoubleScalar(1e-6),  // TolX
              vxCreateCharArray("off")} {}

void Call::run(Results& results) const {
    std::apply(
        [&](auto... inputs) {
            std::apply([&](auto&... outputs) { NullSpaceASdriver(inputs..., &outputs...); },
                       results);
        },
        inputs_);
}

void Call::operator()() const {
    const CallScope scope;
    Results results{};
    run(results);
}

Outcome Call::outcome(const std::function<void()>& solved) const {
    const CallScope scope;
    Results results{};
    run(results);
    solved();
    Outcome outcome{static_cast<int>(values(results[7]).at(0)), values(results[1]).at(0),
                    lastSolveReport()};
    outcome.point = {values(results[0]),
                     {values(results[4]), values(results[5]), values(results[6])}};
    for (size_t list = 3; list < 7; ++list) {
        outcome.active += vxGetNumberOfElements(results.at(list));
    }
    return outcome;
}

}  // namespace activeset::bench
