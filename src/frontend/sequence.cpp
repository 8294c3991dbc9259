// Tries the small road first, then the general one, each with what it has kept.
#include "frontend/sequence.hpp"

#include <algorithm>
#include <array>
#include <iterator>
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
}

void Sequence::restartFrom(WarmStart start) {
    isLastSmall_ = isLastSmall_ && start.workingSet == last_.workingSet;
    last_ = std::move(start);
}

void Sequence::beginAt(const VectorView& x) {
    isLastSmall_ = false;
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
    if (isOptimal && isContinued_) {
        keep(result);
    }
    isLastSmall_ = isSmall && isOptimal && isContinued_;
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
    WarmStart start = last_;
    const bool beginsHard = start.workingSet.softViolated.size() == 0;
    Result first;
    if (beginsHard) {
        solveHard(withoutPenalties(problem), data, settings, control, result);
        if (isSettled(problem, result)) {
            return;
        }
        first = std::move(result);
    }
    {
        const Restored restored(last_, start);
        result = solveSoft(problem, data, start, beginsHard ? &first : nullptr, *this, settings,
                           control);
    }
    isLastSmall_ = false;
    if (result.status == Status::Optimal && isContinued_) {
        keep(result);
    }
}

// Begins where the last solve on the small road ended, if no other solve came in between.
bool Sequence::solveSmall(const Problem& problem,
                          const Settings& settings,
                          Control& control,
                          Result& result) {
    if (!SmallProblem::suits(settings)) {
        return false;
    }
    const SmallProblem::Kept kept{.matrices = !haveSmallMatricesChanged_, .set = isLastSmall_};
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
    Result result = solveConvexified(*cache_, last_.x, last_.workingSet, settings, control);
    // Shared matrices are scaled without a look at the vectors; scaled alone it may be solved.
    if (areMatricesShared_ && result.status == Status::Inaccurate) {
        ProblemCache alone(copyOf(problem));
        result = solveConvexified(alone, last_.x, last_.workingSet, settings, control);
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
