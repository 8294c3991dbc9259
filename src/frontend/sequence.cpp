// Tries the small road first, then the general one, each with what it has kept.
#include "frontend/sequence.hpp"

#include <algorithm>
#include <array>
#include <iterator>
#include <optional>
#include <span>
#include <utility>

#include "frontend/soft_solve.hpp"

namespace activeset::frontend {

namespace {

constexpr std::array MatrixParts{Part::Hessian, Part::Rows};
constexpr std::array VectorParts{Part::Linear, Part::RowSides, Part::Bounds, Part::Start};

void addFaults(const Problem& problem, std::span<const Part> parts, std::vector<Fault>& faults) {
    for (const Part part : parts) {
        std::ranges::move(faultsIn(problem, variablesOf(problem), problem.A.rows(), part),
                          std::back_inserter(faults));
    }
}

/// What it took to predict which sides are violated.
struct Prediction {
    std::size_t steps = 0;
    double seconds = 0.0;  ///< which the solve behind it takes for its setup

    void addTo(Result& result) const {
        result.iterations.prediction += steps > 0 ? 1U : 0U;
        result.iterations.dual += steps;
        result.times.setup -= std::min(seconds, result.times.setup);
        result.times.solve =
            std::max(0.0, result.times.total - result.times.setup - result.times.polish);
    }
};

/// Puts a warm start back, also where a solve raises.
class Restored {
public:
    Restored(WarmStart& target, WarmStart& value) : target_(target), value_(value) {}
    ~Restored() { std::swap(target_, value_); }
    Restored(const Restored&) = delete;
    Restored& operator=(const Restored&) = delete;

private:
    WarmStart& target_;
    WarmStart& value_;
};

}  // namespace

void Sequence::changeMatrices() {
    haveMatricesChanged_ = true;
    haveSmallMatricesChanged_ = true;
    haveVectorsChanged_ = true;
    budget_ = {};
}

void Sequence::restartFrom(WarmStart start) {
    if (start.workingSet != last_.workingSet) {
        isLastSmall_ = false;
        budget_ = {};
    }
    last_ = std::move(start);
}

void Sequence::beginAt(const VectorView& x) {
    isLastSmall_ = false;
    budget_ = {};
    last_.x.clear();
    if (x.data() != nullptr) {
        last_.x.assign(x.data(), x.data() + x.size());
    }
    last_.workingSet.clear();
    if (cache_) {
        cache_->forget();
    }
}

void Sequence::shareMatrices(const Problem& problem) {
    areMatricesShared_ = true;
    small_->keepMatrices({.H = problem.H, .A = problem.A});
    haveSmallMatricesChanged_ = false;
}

void Sequence::solve(const Problem& problem,
                     const ProblemData* data,
                     const Settings& settings,
                     Control& control,
                     Result& result) {
    if (hasPenalties(problem)) {
        solveWithPenalties(problem, data, settings, control, result);
    } else {
        solveHard(problem, data, settings, control, result);
    }
}

void Sequence::solveHard(const Problem& problem,
                         const ProblemData* data,
                         const Settings& settings,
                         Control& control,
                         Result& result) {
    const bool isSmall = solveSmall(problem, settings, control, result);
    if (!isSmall) {
        result = solveGenerally(problem, data, settings, control);
    }
    const bool isOptimal = result.status == Status::Optimal;
    isLastSmall_ = isSmall && isOptimal && isContinued_;
    if (isContinued_ && SmallProblem::needsFewChanges(problem)) {
        countChanges(variablesOf(problem), result.workingSet);
    }
    if (isOptimal && isContinued_) {
        keep(result);
    }
}

void Sequence::countChanges(std::size_t n, const WorkingSet& after) {
    if (budget_.left() == 0) {
        budget_.takeGuess(n, last_.workingSet, after);
    } else {
        budget_.takeChanges(n, isLastSmall_ ? std::optional(small_->changes()) : std::nullopt);
    }
}

void Sequence::solveWithPenalties(const Problem& problem,
                                  const ProblemData* data,
                                  const Settings& settings,
                                  Control& control,
                                  Result& result) {
    std::vector<Fault> faults;
    addFaults(problem, std::array{Part::Penalties}, faults);
    if (!faults.empty()) {
        result = invalid(allFaults(problem, settings));
        return;
    }
    WarmStart before = last_;
    WarmStart start = last_;
    bool beginsHard = start.workingSet.softViolated.size() == 0;
    Prediction prediction;
    if (beginsHard) {
        const double begin = control.seconds();
        switch (solveSmallSoft(problem, settings, control, result, start.workingSet)) {
            case SmallProblem::SoftEnd::Proved:
                return;
            case SmallProblem::SoftEnd::Predicted:
                beginsHard = false;
                prediction = {small_->steps(), control.seconds() - begin};
                break;
            case SmallProblem::SoftEnd::GivenUp:
                break;
        }
    }
    Result first;
    if (beginsHard) {
        solveHard(withoutPenalties(problem), data, settings, control, result);
        if (isSettled(problem, result)) {
            return;
        }
        first = std::move(result);
    }
    {
        const Restored restored(last_, before);
        result = solveSoft(problem, data, start, beginsHard ? &first : nullptr, *this, settings,
                           control);
    }
    prediction.addTo(result);
    isLastSmall_ = false;
    if (result.status == Status::Optimal && isContinued_) {
        keep(result);
    }
}

// With linear penalties the dual method finds what holds and what is violated at once. The set is
// written where it does.
SmallProblem::SoftEnd Sequence::solveSmallSoft(const Problem& problem,
                                               const Settings& settings,
                                               Control& control,
                                               Result& result,
                                               WorkingSet& predicted) {
    using End = SmallProblem::SoftEnd;
    if (!SmallProblem::suits(settings)) {
        return End::GivenUp;
    }
    const bool areMatricesKept = !haveSmallMatricesChanged_;
    haveSmallMatricesChanged_ = false;
    End end = small_->solveNextSoft(problem, areMatricesKept, last_, settings, control, result,
                                    predicted);
    if (end == End::Proved && !isSettled(problem, result)) {
        result = {};  // corrections have taken a multiplier beyond its penalty
        end = End::GivenUp;
    }
    isLastSmall_ = end == End::Proved && isContinued_;
    if (isLastSmall_) {
        keep(result);
    }
    return end;
}

// Begins where the last solve on the small road ended, if no other solve came in between.
bool Sequence::solveSmall(const Problem& problem,
                          const Settings& settings,
                          Control& control,
                          Result& result) {
    if (!SmallProblem::suits(settings)) {
        return false;
    }
    const SmallProblem::Kept kept{
        .matrices = !haveSmallMatricesChanged_, .set = isLastSmall_, .mostChanges = budget_.left()};
    haveSmallMatricesChanged_ = false;
    return small_->solveNext(problem, kept, last_, settings, control, result);
}

Result Sequence::solveGenerally(const Problem& problem,
                                const ProblemData* data,
                                const Settings& settings,
                                Control& control) {
    if (data == nullptr) {
        std::vector<Fault> faults;
        const bool areMatricesKnown = cache_ && !haveMatricesChanged_;
        if (!areMatricesKnown) {
            addFaults(problem, MatrixParts, faults);
        }
        addFaults(problem, VectorParts, faults);
        std::ranges::move(faultsIn(settings), std::back_inserter(faults));
        if (!faults.empty()) {
            return invalid(std::move(faults));
        }
    }
    prepare(problem, data);
    const WorkingSet reached = SmallProblem::suits(settings) ? small_->reached() : WorkingSet();
    const WorkingSet& set = reached.size() > 0 ? reached : last_.workingSet;
    Result result = solveConvexified(*cache_, last_.x, set, settings, control);
    // Shared matrices are scaled without a look at the vectors; scaled alone it may be solved.
    if (areMatricesShared_ && result.status == Status::Inaccurate) {
        ProblemCache alone(copyOf(problem));
        result = solveConvexified(alone, last_.x, set, settings, control);
    }
    return result;
}

void Sequence::prepare(const Problem& problem, const ProblemData* data) {
    if (!cache_ || haveMatricesChanged_) {
        if (areMatricesShared_) {
            cache_ = std::make_unique<ProblemCache>(copyOf(problem, MatrixParts));
            haveVectorsChanged_ = true;
        } else {
            cache_ = std::make_unique<ProblemCache>(data != nullptr ? *data : copyOf(problem));
            haveVectorsChanged_ = false;
        }
    }
    if (haveVectorsChanged_) {
        cache_->updateVectors(data != nullptr ? *data : copyOf(problem, VectorParts));
    }
    haveMatricesChanged_ = false;
    haveVectorsChanged_ = false;
}

void Sequence::keep(const Result& result) {
    last_.x = result.x;
    last_.workingSet = result.workingSet;
}

}  // namespace activeset::frontend
