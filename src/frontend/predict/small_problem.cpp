// Images, dual method, refinement, proof.
#include "frontend/predict/small_problem.hpp"

#include <algorithm>

#include "frontend/predict/small_proof.hpp"
#include "frontend/predict/small_refinement.hpp"
#include "frontend/predict/small_result.hpp"

namespace activeset::frontend {

namespace {

constexpr double ExactResidual = 1e-13;   // a residual in proportion that rounding leaves
constexpr double FeasibleSide = 0x1p-49;  // the same of sides
constexpr std::size_t MostCorrections = 3;

SmallShape shapeOf(const Problem& problem) {
    return {variablesOf(problem), problem.A.rows()};
}

bool fitsMemory(const Problem& problem) {
    return SmallMemory::fits(shapeOf(problem)) && areShapesRight(problem);
}

bool isSmall(const Problem& problem) {
    return fitsMemory(problem) && !SmallMemory::doBoundsPrevail(shapeOf(problem));
}

}  // namespace

SmallProblem& SmallProblem::ofThread() {
    thread_local SmallProblem problem;
    return problem;
}

bool SmallProblem::needsFewChanges(const Problem& problem) {
    return SmallMemory::doBoundsPrevail(shapeOf(problem));
}

bool SmallProblem::suits(const Settings& settings) {
    return settings.startMode >= Start::Automatic && settings.startMode < Start::Cold &&
           !settings.onPass && settings.maxIterations == 0 && settings.tolerance > 0.0 &&
           settings.tolerance <= 1.0 && settings.timeLimit.count() >= 0.0 &&
           settings.convexityTolerance >= 0.0 && settings.convexityTolerance <= 1.0;
}

bool SmallProblem::solve(const Problem& problem,
                         const Settings& settings,
                         Control& control,
                         Result& result) {
    static const WarmStart none;
    const WarmStart& start = problem.warmStart != nullptr ? *problem.warmStart : none;
    if (!suits(settings)) {
        return false;
    }
    const bool isCold = start.workingSet.size() == 0 && !settings.keepFactors;
    if (!isCold || !SmallGuess::fits(shapeOf(problem)) || !areShapesRight(problem)) {
        return solveNext(problem, {}, start, settings, control, result);
    }
    if (solveByGuess(problem, settings, control, result)) {
        return true;
    }
    if (matrices_ == Matrices::Unfit || !isSmall(problem)) {
        return false;
    }
    guess_.list(descended_);
    dual_.limitChanges(SmallDual::AnyChanges);
    return formImagesOnce() &&
           solveLoaded(problem, false, descended_, start, settings, control, result);
}

bool SmallProblem::solveByGuess(const Problem& problem,
                                const Settings& settings,
                                Control& control,
                                Result& result) {
    matrices_ = Matrices::Unfit;
    hasEnded_ = false;
    memory_.reshape(shapeOf(problem));
    if (!loadVectors(problem, memory_, extent_) || !loadMatrices(problem, memory_, extent_)) {
        return false;
    }
    matrices_ = Matrices::Unknown;
    const double setup = control.seconds();
    if (!guess_.minimise(extent_, !isSmall(problem), control)) {
        return false;
    }
    const double begin = control.seconds();
    SmallGuessRefinement refinement(memory_, guess_);
    if (!proveOptimum(
            problem, settings.tolerance, refinement, false, [](bool) { return false; }, result)) {
        return false;
    }
    finish(setup, begin, control, result);
    result.iterations.prediction = guess_.rounds();
    result.iterations.dual = 0;
    return true;
}

bool SmallProblem::solveNext(const Problem& problem,
                             const Kept& kept,
                             const WarmStart& start,
                             const Settings& settings,
                             Control& control,
                             Result& result) {
    const bool hasSet = kept.set && kept.matrices && hasEnded_ && matrices_ == Matrices::Ready;
    const bool isLimited = needsFewChanges(problem);
    dual_.limitChanges(isLimited ? kept.mostChanges : SmallDual::AnyChanges);
    return loadNext(problem, kept.matrices, !isLimited || kept.mostChanges > 0) &&
           solveLoaded(problem, hasSet, start.workingSet, start, settings, control, result);
}

bool SmallProblem::solveLoaded(const Problem& problem,
                               bool isSetKept,
                               const WorkingSet& set,
                               const WarmStart& start,
                               const Settings& settings,
                               Control& control,
                               Result& result) {
    dual_.caps().clear();
    begin(isSetKept, set);
    if (!minimise(problem, start, settings, control, result)) {
        return false;
    }
    hasEnded_ = result.status == Status::Optimal;
    return true;
}

SmallProblem::SoftEnd SmallProblem::solveNextSoft(const Problem& problem,
                                                  bool areMatricesKept,
                                                  const WarmStart& start,
                                                  const Settings& settings,
                                                  Control& control,
                                                  Result& result,
                                                  WorkingSet& predicted) {
    if (!loadNext(problem, areMatricesKept, !needsFewChanges(problem)) ||
        !dual_.caps().load(problem)) {
        return SoftEnd::GivenUp;
    }
    isSetKept_ = false;
    dual_.limitChanges(SmallDual::AnyChanges);
    dual_.beginWithinCaps(start.workingSet);
    const double setup = control.seconds();
    control.poll();
    if (control.mustEnd() || dual_.minimise(control) != SmallDual::End::Optimal) {
        return SoftEnd::GivenUp;
    }
    if (dual_.caps().areAnyBeyond()) {
        predicted = dual_.softSet();
        return SoftEnd::Predicted;
    }
    const double begin = control.seconds();
    if (!proveDual(problem, settings.tolerance, result)) {
        return SoftEnd::GivenUp;
    }
    finish(setup, begin, control, result);
    hasEnded_ = true;
    return SoftEnd::Proved;
}

bool SmallProblem::loadNext(const Problem& problem, bool areMatricesKept, bool isWanted) {
    if (!areMatricesKept) {
        matrices_ = Matrices::Unknown;
    }
    hasEnded_ = false;
    return isWanted && matrices_ != Matrices::Unfit && fitsMemory(problem) && load(problem);
}

// `setup` is when the dual method began, `begin` when it had ended.
void SmallProblem::finish(double setup,
                          double begin,
                          const Control& control,
                          Result& result) const {
    Times& times = result.times;
    times.setup = setup;
    times.total = control.seconds();
    times.polish = times.total - begin;
    times.solve = times.total - times.setup - times.polish;
    result.iterations.prediction = 1;
    result.iterations.dual = dual_.steps();
}

void SmallProblem::release() noexcept {
    memory_.release();
    matrices_ = Matrices::Unknown;
    hasEnded_ = false;
}

void SmallProblem::keepMatrices(const Problem& problem) {
    matrices_ = Matrices::Unknown;
    hasEnded_ = false;
    if (!isSmall(problem) || !load(problem)) {
        matrices_ = Matrices::Unfit;
    }
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
    if (!loadMatrices(problem, memory_, extent_)) {
        matrices_ = Matrices::Unfit;
        return false;
    }
    return formImagesOnce();
}

// Of the matrices that were loaded.
bool SmallProblem::formImagesOnce() {
    matrices_ = formImages(memory_, extent_) ? Matrices::Ready : Matrices::Unfit;
    return matrices_ == Matrices::Ready;
}

void SmallProblem::begin(bool isSetKept, const WorkingSet& set) {
    isSetKept_ = isSetKept && dual_.beginAgain();
    if (!isSetKept_) {
        dual_.begin(set);
    }
}

bool SmallProblem::minimise(const Problem& problem,
                            const WarmStart& start,
                            const Settings& settings,
                            Control& control,
                            Result& result) {
    const double setup = control.seconds();
    control.poll();
    if (control.mustEnd()) {
        return false;
    }
    const SmallDual::End end = dual_.minimise(control);
    const double begin = control.seconds();
    const bool isProved =
        end == SmallDual::End::Contradiction
            ? writeContradiction(problem, start, memory_, dual_, result)
            : end == SmallDual::End::Optimal && proveDual(problem, settings.tolerance, result);
    if (isProved) {
        finish(setup, begin, control, result);
    }
    return isProved;
}

bool SmallProblem::isWellConditioned() const {
    constexpr double LeastTrustedPivot = 1e-4;  // in proportion to the largest entry of H
    constexpr double LeastTrustedPart = 1e-2;
    return extent_.leastPivot >= LeastTrustedPivot * extent_.H &&
           dual_.leastPart() >= LeastTrustedPart;
}

// Corrects the point until it is exact. That of kept factors may be exact as it is.
template <class MayBeDelicate>
bool SmallProblem::proveOptimum(const Problem& problem,
                                double tolerance,
                                SmallRefinement& refinement,
                                bool mayBeExact,
                                MayBeDelicate mayBeDelicate,
                                Result& result) {
    refinement.begin();
    Judgement judgement;
    std::size_t corrections = 0;
    const auto isExact = [&] {
        judgement = judge(memory_, extent_, problem.constant);
        return judgement.certificate.holds(ExactResidual) &&
               judgement.certificate.primal.relative <= FeasibleSide;
    };
    bool isDone =
        mayBeExact && refinement.areRowsMet(FeasibleSide) && isExact() && !judgement.isDelicate;
    while (!isDone) {
        refinement.correct();
        ++corrections;
        isDone = isExact() || corrections == MostCorrections;
    }
    if (!judgement.certificate.holds(tolerance) ||
        !(judgement.certificate.primal.relative <= FeasibleSide) ||
        (judgement.isDelicate &&
         !mayBeDelicate(judgement.certificate.primal.relative > NegligibleMiss))) {
        return false;
    }
    const SmallOptimum optimum{memory_, refinement.size(), judgement, tolerance};
    writeOptimum(problem, optimum, areSetsListed_, result);
    result.iterations.refinement = corrections;
    return true;
}

bool SmallProblem::proveDual(const Problem& problem, double tolerance, Result& result) {
    SmallImageRefinement refinement(memory_, dual_.factor());
    return proveOptimum(
        problem, tolerance, refinement, isSetKept_ && isWellConditioned(),
        [this](bool isMissed) { return !dual_.isNearlyDependent(isMissed); }, result);
}

}  // namespace activeset::frontend
