// Images, dual method, refinement, proof.
#include "frontend/predict/small_problem.hpp"

#include <algorithm>

#include "frontend/predict/small_proof.hpp"
#include "frontend/predict/small_refinement.hpp"
#include "frontend/predict/small_result.hpp"

namespace activeset::frontend {

namespace {

constexpr double Exact = 1e-13;  // a residual in proportion that rounding leaves
constexpr std::size_t MostCorrections = 3;

const WorkingSet& startOf(const Problem& problem) {
    static const WorkingSet none;
    return problem.warmStart != nullptr ? problem.warmStart->workingSet : none;
}

}  // namespace

SmallProblem& SmallProblem::ofThread() {
    thread_local SmallProblem problem;
    return problem;
}

bool SmallProblem::suits(const Settings& settings) {
    return settings.startMode != Start::Cold && !settings.onPass && settings.maxIterations == 0 &&
           settings.tolerance > 0.0 && settings.tolerance <= 1.0 &&
           settings.timeLimit.count() >= 0.0 && settings.convexityTolerance >= 0.0 &&
           settings.convexityTolerance <= 1.0;
}

std::optional<Result> SmallProblem::solve(const Problem& problem,
                                          const Settings& settings,
                                          Control& control) {
    return solveNext(problem, true, &startOf(problem), settings, control);
}

std::optional<Result> SmallProblem::solveNext(const Problem& problem,
                                              bool haveMatricesChanged,
                                              const WorkingSet* set,
                                              const Settings& settings,
                                              Control& control) {
    if (haveMatricesChanged) {
        matrices_ = Matrices::Unknown;
    }
    if (matrices_ == Matrices::Unfit || !suits(settings) || !isSmall(problem)) {
        return std::nullopt;
    }
    const bool mayContinue = hasEnded_ && matrices_ == Matrices::Ready && set == nullptr;
    hasEnded_ = false;
    if (!load(problem)) {
        return std::nullopt;
    }
    if (!mayContinue || !dual_.beginAgain()) {
        dual_.begin(set != nullptr ? *set : startOf(problem));
    }
    const double setup = control.seconds();
    control.poll();
    if (control.mustEnd()) {
        return std::nullopt;
    }
    std::optional<Result> result = minimise(problem, settings, control);
    if (result) {
        result->times.setup = setup;
        result->times.solve = result->times.total - setup - result->times.polish;
        hasEnded_ = result->status == Status::Optimal;
    }
    return result;
}

bool SmallProblem::load(const Problem& problem) {
    if (matrices_ == Matrices::Ready) {
        if (!loadVectors(problem, memory_, extent_)) {
            return false;
        }
        transformLinear(memory_);
        return true;
    }
    memory_.reshape({variablesOf(problem), problem.A.rows()});
    if (!loadVectors(problem, memory_, extent_)) {
        return false;
    }
    matrices_ = loadMatrices(problem, memory_, extent_) ? Matrices::Ready : Matrices::Unfit;
    return matrices_ == Matrices::Ready;
}

std::optional<Result> SmallProblem::minimise(const Problem& problem,
                                             const Settings& settings,
                                             Control& control) {
    const SmallDual::End end = dual_.minimise(control);
    const double begin = control.seconds();
    std::optional<Result> result;
    if (end == SmallDual::End::Contradiction) {
        result = contradictionOf(problem, memory_, dual_);
    } else if (end == SmallDual::End::Optimal) {
        result = proveOptimum(problem, settings);
    }
    if (result) {
        result->times.total = control.seconds();
        result->times.polish = result->times.total - begin;
        result->iterations.prediction = 1;
        result->iterations.dual = dual_.steps();
    }
    return result;
}

std::optional<Result> SmallProblem::proveOptimum(const Problem& problem, const Settings& settings) {
    SmallRefinement refinement(memory_, dual_);
    refinement.begin();
    Judgement judgement;
    std::size_t corrections = 0;
    do {
        refinement.correct();
        judgement = judge(memory_, extent_, problem.constant);
    } while (++corrections < MostCorrections && !judgement.certificate.holds(Exact));
    if (!judgement.certificate.holds(settings.tolerance)) {
        return std::nullopt;
    }
    Result result = optimumOf(problem, memory_, dual_, judgement, settings.tolerance);
    result.iterations.refinement = corrections;
    return result;
}

}  // namespace activeset::frontend
