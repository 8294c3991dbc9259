// Counts the work of cases.
#include "benchmarks/counted.hpp"

#include <cmath>
#include <stdexcept>

#include "activeset/options_solution.hpp"
#include "benchmarks/work_counts.hpp"

namespace activeset::bench {

std::vector<Outcome> countedOutcomes(const std::vector<Call>& calls,
                                     const std::vector<Problem>& problems,
                                     const std::string& prefix,
                                     nlohmann::ordered_json& line) {
    std::vector<Outcome> outcomes;
    Work total;
    std::uint64_t hostRequests = 0;
    double passes = 0.0;
    double phaseOnePasses = 0.0;
    double active = 0.0;
    std::vector<double> values;
    for (size_t k = 0; k < calls.size(); ++k) {
        const std::uint64_t before = activeset::allocationCount();
        const WorkCount count;
        outcomes.push_back(calls[k].outcome([&] {
            total += count.work();
            hostRequests += activeset::allocationCount() - before;
        }));
        const Outcome& outcome = outcomes.back();
        if (outcome.state != ASQP::Optimal) {
            throw std::runtime_error("state " + std::to_string(outcome.state));
        }
        const double known = problems[k].optimum.value_or(outcome.value);
        if (std::abs(outcome.value - known) > 1e-7 * (1.0 + std::abs(known))) {
            throw std::runtime_error("objective " + std::to_string(outcome.value) + " is not " +
                                     std::to_string(known));
        }
        passes += outcome.passes.iterations;
        phaseOnePasses += outcome.passes.phaseOneIterations;
        active += static_cast<double>(outcome.active);
        values.push_back(outcome.value);
    }
    line[prefix + "passes"] = over(passes, calls.size());
    line[prefix + "phase_one_passes"] = over(phaseOnePasses, calls.size());
    line[prefix + "host_allocations"] = over(static_cast<double>(hostRequests), calls.size());
    line[prefix + "allocations"] = over(static_cast<double>(total.requests), calls.size());
    line[prefix + "flops"] = over(total.flops(), calls.size());
    if (prefix.empty()) {
        line["active"] = over(active, calls.size());
        line["matrix_flops"] = over(total.matrixFlops, calls.size());
        line["vector_flops"] = over(total.vectorFlops, calls.size());
        line["rotation_flops"] = over(total.rotationFlops, calls.size());
        line["peak_bytes"] = total.peakBytes;
        line["values"] = values;
    }
    return outcomes;
}

}  // namespace activeset::bench
