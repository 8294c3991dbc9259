// Solves linear programs by the core's own linear path: one run with the scaling, the tolerances
// and the guards of the front end, but without its proximal loop. scripts/linear compares it with
// the front end, which is how the choice between the two was made.
#include <algorithm>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>

#include "activeset/options_solution.hpp"
#include "frontend/core/core_run.hpp"
#include "frontend/loop/problem_cache.hpp"
#include "io/reader.hpp"

using namespace activeset::frontend;  // NOLINT(google-build-using-namespace): the program's own
using Json = nlohmann::ordered_json;

namespace {

const char* outcomeOf(const Run& run) {
    switch (run.end) {
        case RunEnd::Optimal:
            return "optimal";
        case RunEnd::Infeasible:
            return "infeasible";
        case RunEnd::Cycling:
            return "cycling";
        case RunEnd::Stopped:
            return "time limit";
        default:
            return run.exitCode == ASQP::Unbounded ? "unbounded" : "broken";
    }
}

Json solve(const std::string& name, double seconds) {
    const activeset::io::Model file = activeset::io::readModel(name);
    const ProblemData data = copyOf(activeset::io::viewsOf(file));
    const activeset::Settings settings{.timeLimit = std::chrono::duration<double>(seconds)};
    Control control(settings, std::numeric_limits<std::size_t>::max());
    ProblemCache problem(data);
    Vector start(data.n);
    for (std::size_t j = 0; j < data.n; ++j) {
        start[j] = std::min(std::max(0.0, problem.scaled.lower[j]), problem.scaled.upper[j]);
    }
    Vector noHessian;
    const auto report = [&problem](const double* x, const auto&...) {
        return problem.progressAt(x);
    };
    const Run run =
        runCore(problem.coreForm(), noHessian, problem.scaled.c, start, {}, {}, control, report);
    const activeset::Progress end = problem.progressAt(run.x.empty() ? start.data() : run.x.data());
    return {{"outcome", outcomeOf(run)},
            {"code", run.exitCode},
            {"objective", end.objective},
            {"violation", end.violation},
            {"phase_one_iterations", control.phaseOnePasses()},
            {"iterations", control.mainPasses()},
            {"seconds", control.seconds()}};
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::cerr << "usage: activeset_linear_path SECONDS FILE...\n";
        return 2;
    }
    try {
        for (int k = 2; k < argc; ++k) {
            std::cout << solve(argv[k], std::strtod(argv[1], nullptr)) << std::endl;
        }
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 2;
    }
    return 0;
}
