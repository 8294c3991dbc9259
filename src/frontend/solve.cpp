// One solve from the caller's views to the caller's result.
#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

#include "activeset/host.hpp"
#include "frontend/engine.hpp"

namespace activeset {

const char* textOf(Status status) noexcept {
    switch (status) {
        case Status::Optimal:
            return "optimal";
        case Status::Infeasible:
            return "infeasible";
        case Status::Unbounded:
            return "unbounded";
        case Status::NotConvex:
            return "not convex";
        case Status::IterationLimit:
            return "iteration limit";
        case Status::TimeLimit:
            return "time limit";
        case Status::Interrupted:
            return "interrupted";
        case Status::Inaccurate:
            return "inaccurate";
        case Status::Invalid:
            return "invalid";
        case Status::Failed:
            break;
    }
    return "failed";
}

namespace {

using frontend::Answer;
using frontend::Control;
using frontend::Point;
using frontend::Prepared;
using frontend::Vector;

Result invalid(std::vector<Fault> faults) {
    Result result;
    result.status = Status::Invalid;
    for (const Fault& fault : faults) {
        result.message += fault.text + "\n";
    }
    result.faults = std::move(faults);
    return result;
}

// Where the solve begins, in scaled variables: inside the bounds.
Vector startOf(const Problem& problem, const Prepared& prepared) {
    const std::size_t n = prepared.user.n;
    Vector x(n, 0.0);
    if (problem.warmStart != nullptr && problem.warmStart->x.size() == n) {
        x = problem.warmStart->x;
    } else if (!problem.start.empty()) {
        x.assign(problem.start.data(), problem.start.data() + n);
    }
    for (std::size_t j = 0; j < n; ++j) {
        x[j] = std::isfinite(x[j]) ? x[j] : 0.0;
        x[j] = std::min(std::max(x[j], prepared.user.lower[j]), prepared.user.upper[j]);
    }
    return prepared.scaling.scaled({std::move(x), {}, {}}).x;
}

}  // namespace

Result solve(const Problem& problem, const Settings& settings) {
    if (utInterruptMode::depth() > 0) {
        throw std::logic_error("activeset::solve was called inside another solve of its thread");
    }
    std::vector<Fault> faults = faultsOf(problem);
    if (!faults.empty()) {
        return invalid(std::move(faults));
    }
    const std::size_t size = frontend::variablesOf(problem) + problem.A.rows();
    Control control(settings, 100000 + 100 * size);
    Prepared prepared(frontend::copyOf(problem));
    Result result;
    result.times.setup = control.seconds();
    frontend::Engine engine(prepared, settings, control, frontend::Depth::Whole);
    Answer answer =
        engine.solve(startOf(problem, prepared),
                     problem.warmStart != nullptr ? problem.warmStart->workingSet : WorkingSet());
    control.rethrow();
    Point point = prepared.scaling.unscaled(std::move(answer.point));
    project(prepared.user, point);
    result.status = answer.status;
    result.exitCode = answer.exitCode;
    result.x = std::move(point.x);
    result.y = std::move(point.y);
    result.z = std::move(point.z);
    result.objective = answer.judgement.objective;
    result.certificate = answer.judgement.certificate;
    result.workingSet = std::move(answer.set);
    result.farkas = std::move(answer.farkas);
    result.direction = std::move(answer.direction);
    result.directionResidual = answer.directionResidual;
    result.iterations = {control.phaseOnePasses(), control.mainPasses(), answer.proximal,
                         answer.refinement};
    result.times.polish = answer.polishSeconds;
    result.times.total = control.seconds();
    result.times.solve = result.times.total - result.times.setup - result.times.polish;
    return result;
}

}  // namespace activeset
