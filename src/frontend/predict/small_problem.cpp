// What is loaded and kept, and the methods that are tried.
#include "frontend/predict/small_problem.hpp"

#include "frontend/predict/small_result.hpp"

namespace activeset::frontend {

namespace {

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
    hasReached_ = false;
    if (!suits(settings)) {
        return false;
    }
    const bool isCold = start.workingSet.size() == 0 && !settings.keepFactors;
    if (!isCold || !SmallGuess::fits(shapeOf(problem)) || !areShapesRight(problem)) {
        return solveNext(problem, {}, start, settings, control, result);
    }
    if (solveByGuess(problem, start, settings, control, result)) {
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
                                const WarmStart& start,
                                const Settings& settings,
                                Control& control,
                                Result& result) {
    matrices_ = Matrices::Unfit;
    hasEnded_ = hasReached_ = false;
    memory_.reshape(shapeOf(problem));
    if (!loadVectors(problem, memory_, extent_) || !loadMatrices(problem, memory_, extent_)) {
        return false;
    }
    matrices_ = Matrices::Unknown;
    const double setup = control.seconds();
    const SmallGuess::End end = guess_.minimise(extent_, !isSmall(problem), control);
    const double begin = control.seconds();
    SmallGuessRefinement refinement(memory_, guess_);
    const auto isDelicate = [](bool) { return false; };
    const bool isProved = end == SmallGuess::End::Contradiction
                              ? writeContradiction(problem, start, extent_, memory_, result)
                              : end == SmallGuess::End::Settled &&
                                    proveOptimum(problem, settings.tolerance, refinement, false,
                                                 isDelicate, result) == Proof::Found;
    if (!isProved) {
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
    const double setup = control.seconds();
    const bool isFree = isSetKept ? dual_.factor().size() == 0 : set.size() == 0;
    const bool mayWait = isFree && mayRowsWait(memory_) && !extent_.isProximal();
    if (!mayWait || !provesFreeMinimum(setup, problem, settings, control, result)) {
        formWaitingImages(memory_);
        begin(isSetKept, set);
        if (!minimise(setup, problem, start, settings, control, result)) {
            return false;
        }
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
    if (!loadNext(problem, areMatricesKept, !needsFewChanges(problem)) || extent_.isProximal()) {
        return SoftEnd::GivenUp;
    }
    formWaitingImages(memory_);  // caps are in proportion to norms of images
    if (!dual_.caps().load(problem)) {
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
    if (!proveDual(problem, settings.tolerance, control, result)) {
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
    hasEnded_ = hasReached_ = false;
    return isWanted && matrices_ != Matrices::Unfit && fitsMemory(problem) && load(problem);
}

void SmallProblem::release() noexcept {
    memory_.release();
    matrices_ = Matrices::Unknown;
    hasEnded_ = hasReached_ = false;
}

void SmallProblem::keepMatrices(const Problem& problem) {
    matrices_ = Matrices::Unknown;
    hasEnded_ = hasReached_ = false;
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
        return !extent_.isLinear() || extent_.weight == weightOfLinear(extent_) || formImagesOnce();
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
    constexpr std::size_t Steps = 8;
    constexpr std::size_t StepsOfProximal = 24;
    matrices_ = formImages(memory_, extent_) ? Matrices::Ready : Matrices::Unfit;
    dual_.limitSteps(extent_.isProximal() ? StepsOfProximal : Steps);
    return matrices_ == Matrices::Ready;
}

void SmallProblem::begin(bool isSetKept, const WorkingSet& set) {
    isSetKept_ = isSetKept && dual_.beginAgain();
    if (!isSetKept_) {
        dual_.begin(set);
    }
}

// Whether the minimum without constraints is the optimum.
bool SmallProblem::provesFreeMinimum(double setup,
                                     const Problem& problem,
                                     const Settings& settings,
                                     Control& control,
                                     Result& result) {
    control.poll();
    if (control.mustEnd() || !dual_.beginsAtOptimum()) {
        return false;
    }
    const double begin = control.seconds();
    SmallImageRefinement refinement(memory_, dual_.factor());
    const Proof proof = proveOptimum(
        problem, settings.tolerance, refinement, isWellConditioned(), [](bool) { return false; },
        result);
    if (proof == Proof::Found) {
        finish(setup, begin, control, result);
    }
    return proof == Proof::Found;
}

bool SmallProblem::minimise(double setup,
                            const Problem& problem,
                            const WarmStart& start,
                            const Settings& settings,
                            Control& control,
                            Result& result) {
    control.poll();
    if (control.mustEnd()) {
        return false;
    }
    const SmallDual::End end = dual_.minimise(control);
    const double begin = control.seconds();
    hasReached_ = end == SmallDual::End::Optimal && !extent_.isProximal();
    const bool isProved = end == SmallDual::End::Contradiction
                              ? writeContradiction(problem, start, extent_, memory_, result)
                              : end == SmallDual::End::Optimal &&
                                    proveDual(problem, settings.tolerance, control, result);
    if (isProved) {
        finish(setup, begin, control, result);
        hasReached_ = false;
    }
    return isProved;
}

}  // namespace activeset::frontend
