// The families under Google Benchmark, through the public interface and the shared library. Use it
// for a closer look at one family, or to compare two builds.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "activeset/options_solution.hpp"
#include "benchmarks/cases.hpp"

namespace activeset::bench {
namespace {

void solveCase(benchmark::State& state, const std::string& family, bool isWarm) {
    const CallScope scope;
    const Case which = makeCase(family, static_cast<size_t>(state.range(0)));
    std::vector<Call> calls(which.problems.begin(), which.problems.end());
    const auto solveAll = [&calls] {
        std::vector<Outcome> outcomes;
        outcomes.reserve(calls.size());
        for (const Call& call : calls) {
            outcomes.push_back(call.outcome([] {}));
        }
        return outcomes;
    };
    std::vector<Outcome> outcomes = solveAll();
    if (isWarm) {
        const std::vector<Start> starts = warmStarts(which, outcomes);
        for (size_t k = 0; k < starts.size(); ++k) {
            calls[k] = Call(which.problems[k], starts[k]);
        }
        outcomes = solveAll();
    }
    double passes = 0.0;
    for (const Outcome& outcome : outcomes) {
        if (outcome.state != ASQP::Optimal) {
            state.SkipWithError("not optimal");
            return;
        }
        passes += outcome.passes.phaseOneIterations + outcome.passes.iterations;
    }
    for (auto _ : state) {
        for (const Call& call : calls) {
            call();
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(calls.size()));
    state.counters["passes"] = passes / static_cast<double>(calls.size());
    // Seconds per solve: each iteration solves all problems of the case.
    state.counters["solve"] = benchmark::Counter(
        static_cast<double>(calls.size()),
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void registerFamily(const std::string& family, bool isWarm) {
    auto* registered = benchmark::RegisterBenchmark(
        (family + (isWarm ? "/warm" : "/cold")).c_str(),
        [family, isWarm](benchmark::State& state) { solveCase(state, family, isWarm); });
    registered->Unit(benchmark::kMicrosecond);
    for (const std::int64_t n : {10, 20, 60, 120, 500, 1000}) {
        if (family != "mpc" || n <= 120) {
            registered->Arg(n);
        }
    }
}

}  // namespace
}  // namespace activeset::bench

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return EXIT_FAILURE;
    }
    for (const std::string& family : activeset::bench::familyNames()) {
        activeset::bench::registerFamily(family, false);
        activeset::bench::registerFamily(family, true);
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return EXIT_SUCCESS;
}
