// One solve from the caller's views to the caller's result.
#include <algorithm>
#include <cmath>
#include <iterator>
#include <stdexcept>
#include <utility>

#include "activeset/host.hpp"
#include "frontend/algebra/dense.hpp"
#include "frontend/decide.hpp"
#include "frontend/parametric/kept_factors.hpp"
#include "frontend/predict/small_problem.hpp"
#include "frontend/proof/gap_correction.hpp"
#include "frontend/proof/units.hpp"
#include "frontend/sequence.hpp"
#include "frontend/soft/penalties.hpp"
#include "frontend/solve.hpp"
#include "host/array_shelf.hpp"
#include "host/floating_point.hpp"

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

// Where the solve begins, in scaled variables: between the bounds. A start much farther out than
// anything in the data is dropped, because points there have too few digits.
frontend::Vector startOf(const frontend::ProblemCache& problem, frontend::Vector x) {
    constexpr double FarStart = 1e8;
    const frontend::ProblemData& data = problem.user;
    const double size = frontend::largestMagnitude(x);
    if (size > FarStart && size > FarStart * frontend::mostSize(data)) {  // which is 1 at least
        x.clear();
    }
    x.resize(data.n, 0.0);
    for (std::size_t j = 0; j < data.n; ++j) {
        x[j] = std::isfinite(x[j]) ? x[j] : 0.0;
        x[j] = std::min(std::max(x[j], data.lower[j]), data.upper[j]);
    }
    return problem.scaling.scaledVariables(std::move(x));
}

}  // namespace

namespace frontend {

void requireNoSolve() {
    if (utInterruptMode::depth() > 0) {
        throw std::logic_error("activeset: a solve was started inside another one of its thread");
    }
}

Result invalid(std::vector<Fault> faults) {
    Result result;
    result.status = Status::Invalid;
    result.message = messageOf(faults);
    result.faults = std::move(faults);
    return result;
}

std::size_t automaticLimit(std::size_t n, std::size_t m) {
    return 100000 + 100 * (n + m);
}

Result solvePrepared(ProblemCache& problem,
                     Vector x,
                     const WorkingSet& set,
                     const Settings& settings,
                     Control& control) {
    Result result;
    result.times.setup = control.seconds();
    Answer answer = decide(problem, startOf(problem, std::move(x)), set, settings, control);
    control.rethrow();
    Point& point = answer.point;
    if (statusOf(answer, settings.tolerance) == Status::Optimal &&
        answer.judgement.certificate.gap.absolute > LargeGap) {
        correctGap(problem.user, answer.set, settings.tolerance, point, answer.judgement);
    }
    result.status = statusOf(answer, settings.tolerance);
    result.x = std::move(point.x);
    result.y = std::move(point.y);
    result.z = std::move(point.z);
    if (hasObjective(result.status)) {
        result.objective = answer.judgement.objective;
    }
    result.certificate = answer.judgement.certificate;
    result.workingSet = std::move(answer.set);
    result.farkas = std::move(answer.farkas);
    result.direction = std::move(answer.direction);
    result.directionResidual = answer.directionResidual;
    const Effort& effort = answer.effort;
    result.exitCode = effort.exitCode;
    result.wasPredicted = effort.wasPredicted;
    result.iterations = {control.phaseOnePasses(), control.mainPasses(), effort.guesses,
                         effort.dualSteps,         effort.proximalSteps, answer.corrections};
    result.times.polish = control.polishSeconds();
    result.times.total = control.seconds();
    result.times.solve = result.times.total - result.times.setup - result.times.polish;
    return result;
}

}  // namespace frontend

void releaseWorkspaces() noexcept {
    ArrayShelf::ofThread().clear();
    frontend::SmallProblem::ofThread().release();
}

namespace {

/// @param reached  where to begin, unless empty
Result solveGenerally(const Problem& problem,
                      const WorkingSet& reached,
                      const Settings& settings,
                      frontend::Control& control) {
    frontend::HessianScan scan;
    std::vector<Fault> faults = frontend::faultsIn(problem, scan);
    std::ranges::move(frontend::faultsIn(settings), std::back_inserter(faults));
    if (!faults.empty()) {
        return frontend::invalid(std::move(faults));
    }
    // Factors that are kept live on; a callback may change the matrices for the solves to come.
    const bool mayLend = !settings.keepFactors && !settings.onPass;
    const auto cache = std::make_shared<frontend::ProblemCache>(frontend::copyOf(
        problem, std::move(scan), mayLend ? frontend::Matrices::Lent : frontend::Matrices::Copied));
    const WarmStart* warm = problem.warmStart;
    frontend::Vector start = warm != nullptr ? warm->x : frontend::Vector();
    if (warm == nullptr && !problem.start.empty()) {
        start.assign(problem.start.data(), problem.start.data() + problem.start.size());
    }
    const WorkingSet& set = reached.size() == 0 && warm != nullptr ? warm->workingSet : reached;
    Result result = frontend::solveConvexified(*cache, std::move(start), set, settings, control);
    if (settings.keepFactors) {
        result.factors = frontend::keptFactors(cache, result);
    }
    return result;
}

Result solveWithPenalties(const Problem& problem,
                          const Settings& settings,
                          frontend::Control& control) {
    frontend::Sequence alone(frontend::SmallProblem::ofThread());
    if (problem.warmStart != nullptr) {
        alone.restartFrom(*problem.warmStart);
    } else {
        alone.beginAt(problem.start);
    }
    Result result;
    alone.solve(problem, nullptr, settings, control, result);
    return result;
}

}  // namespace

Result solve(const Problem& problem, const Settings& settings) {
    const FloatingPointGuard environment;
    frontend::requireNoSolve();
    frontend::Control control(
        settings, frontend::automaticLimit(frontend::variablesOf(problem), problem.A.rows()));
    Result result;
    if (frontend::hasPenalties(problem)) {
        result = solveWithPenalties(problem, settings, control);
    } else if (frontend::SmallProblem& small = frontend::SmallProblem::ofThread();
               !small.solve(problem, settings, control, result)) {
        result = solveGenerally(problem, small.reached(), settings, control);
    } else if (settings.keepFactors) {
        result.factors = frontend::keptFactors(small, problem, result);
    }
    return result;
}

}  // namespace activeset
