#include "benchmarks/cases.hpp"

#include <algorithm>
#include <stdexcept>

namespace activeset::bench {

const std::vector<std::string>& familyNames() {
    static const std::vector<std::string> names{"random10", "random30",  "random60", "box",
                                                "svm",      "portfolio", "mpc"};
    return names;
}

namespace {

Problem makeProblem(const std::string& family, size_t n, std::uint64_t seed) {
    if (family == "box") {
        return boxProblem(n, seed);
    }
    if (family == "svm") {
        return supportVectorProblem(n, seed);
    }
    if (family == "portfolio") {
        return portfolioProblem(n, seed);
    }
    if (family == "random10" || family == "random30" || family == "random60") {
        return randomProblem(n, 0.1 * (family[6] - '0'), seed);
    }
    throw std::invalid_argument(family + " is no family");
}

// Shifts a solution by one time step: the first one is dropped, the last one repeated.
Start shifted(Start start, const ControlChain& chain) {
    std::copy(start.x.begin() + static_cast<std::ptrdiff_t>(chain.inputs), start.x.end(),
              start.x.begin());
    for (size_t kind = 0; kind < start.active.size(); ++kind) {
        const auto step = static_cast<double>(kind == 0 ? chain.outputs : chain.inputs);
        std::erase_if(start.active.at(kind), [step](double index) { return index <= step; });
        std::ranges::for_each(start.active.at(kind), [step](double& index) { index -= step; });
    }
    return start;
}

}  // namespace

Case makeCase(const std::string& family, size_t n) {
    constexpr std::uint64_t Seed = 2022;
    constexpr size_t Steps = 20;
    constexpr size_t Small = 60;
    constexpr size_t SmallProblems = 8;
    Case result{family};
    if (family == "mpc") {
        result.chain = controlChain(n / 2, Steps, Seed);
        result.problems = std::move(result.chain.problems);
        return result;
    }
    for (size_t k = 0; k < (n <= Small ? SmallProblems : 1); ++k) {
        result.problems.push_back(makeProblem(family, n, Seed + k));
    }
    return result;
}

std::vector<Start> warmStarts(const Case& which, const std::vector<Outcome>& cold) {
    std::vector<Start> starts;
    for (size_t k = 0; k < cold.size(); ++k) {
        const bool isContinued = which.chain.inputs > 0 && k > 0;
        starts.push_back(isContinued ? shifted(cold[k - 1].point, which.chain) : cold[k].point);
    }
    return starts;
}

}  // namespace activeset::bench
