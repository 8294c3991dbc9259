// How a small solve ends: its point is corrected, proved, and timed.
#include <functional>
#include <utility>

#include "frontend/predict/small_problem.hpp"
#include "frontend/predict/small_proof.hpp"
#include "frontend/predict/small_refinement.hpp"
#include "frontend/predict/small_result.hpp"

namespace activeset::frontend {

namespace {

constexpr double ExactResidual = 1e-13;    // a residual in proportion that rounding leaves
constexpr double FirstResidual = 0x1p-45;  // of a point that needs no correction
constexpr double FeasibleSide = 0x1p-49;   // the same of sides
constexpr double LevelGradient = 0x1p-49;
constexpr double NearBound = 0x1p-57;  // what corrections leave of a variable that should be there
constexpr double NoMultiplier = 0x1p-50;  // in proportion to the largest
constexpr std::size_t MostCorrections = 3;
constexpr int MostProofs = 4;  // that are tried after holding what was missed

}  // namespace

bool SmallProblem::isWellConditioned() const {
    constexpr double LeastTrustedPivot = 1e-2;  // in proportion to the largest entry of H
    constexpr double LeastTrustedPart = 1e-2;
    return extent_.leastPivot >= LeastTrustedPivot * extent_.H &&
           dual_.leastPart() >= LeastTrustedPart;
}

// Corrects the point until it is exact, if it is not so as it is.
SmallProblem::Proof SmallProblem::proveOptimum(const Problem& problem,
                                               double tolerance,
                                               SmallRefinement& refinement,
                                               bool mayBeExact,
                                               const std::function<bool(bool)>& mayBeDelicate,
                                               Result& result) {
    refinement.begin();
    Judgement judgement;
    std::size_t corrections = 0;
    const auto isExact = [&](double residual) {
        judgement = judge(memory_, extent_, problem.constant);
        return judgement.certificate.holds(residual) &&
               judgement.certificate.primal.relative <= FeasibleSide;
    };
    bool isDone = mayBeExact && refinement.areRowsMet(FeasibleSide) && isExact(FirstResidual) &&
                  !judgement.isDelicate;
    // The way by ρI has left fewer digits.
    const std::size_t least = !extent_.isProximal() ? 1 : extent_.isLinear() ? 2 : MostCorrections;
    while (!isDone) {
        refinement.correct();
        ++corrections;
        isDone = (isExact(ExactResidual) && corrections >= least) || corrections == MostCorrections;
    }
    // Along a slope that no curvature ends, the problem may be unbounded.
    const Certificate& certificate = judgement.certificate;
    const auto isLevel = [&] {
        return !extent_.isProximal() || certificate.dual.relative <= LevelGradient;
    };
    if (!isLevel()) {
        const bool hasCosts = extent_.c > 0.0 || !extent_.isLinear();
        refinement.dropMultipliers(hasCosts ? NoMultiplier : 1.0);
        judgement = judge(memory_, extent_, problem.constant);
    }
    if (judgement.isDelicate) {
        refinement.moveToNearBounds(NearBound);
        judgement = judge(memory_, extent_, problem.constant);
    }
    const double missed = certificate.primal.relative;
    if (missed > FeasibleSide && certificate.dual.relative <= tolerance &&
        certificate.gap.relative <= tolerance) {
        return Proof::Missed;
    }
    if (!certificate.holds(tolerance) || !(missed <= FeasibleSide) || !isLevel()) {
        return Proof::None;
    }
    if (judgement.isDelicate && !mayBeDelicate(missed > NegligibleMiss)) {
        return Proof::Delicate;
    }
    const SmallOptimum optimum{memory_, refinement.size(), judgement, tolerance};
    writeOptimum(problem, optimum, areSetsListed_, result);
    result.iterations.refinement = corrections;
    return Proof::Found;
}

// Whether the dual method has found a point that misses nothing. Else the members are as before:
// the general road may begin with them.
bool SmallProblem::settlesDelicate(Control& control) {
    const WorkingSet members = dual_.softSet();
    const bool isSettled = dual_.settleAround(NegligibleMiss, control);
    if (!isSettled && !extent_.isProximal()) {
        dual_.begin(members);
    }
    return isSettled;
}

// What the point misses by rounding is looked at closely.
bool SmallProblem::proveDual(const Problem& problem,
                             double tolerance,
                             Control& control,
                             Result& result) {
    bool mayBeExact = isWellConditioned();
    const auto mayBeDelicate = [this](bool isMissed) {
        return (isMissed && dual_.areSidesMetNearby()) || !dual_.isNearlyDependent(isMissed);
    };
    Proof proof = Proof::Missed;
    for (int round = 0; round < MostProofs && (proof == Proof::Missed || proof == Proof::Delicate);
         ++round) {
        if (proof == Proof::Delicate && !settlesDelicate(control)) {
            return false;
        }
        if (proof == Proof::Missed && round > 0 && !dual_.settleAround(FeasibleSide, control)) {
            return false;
        }
        SmallImageRefinement refinement(memory_, dual_.factor());
        proof = proveOptimum(problem, tolerance, refinement, std::exchange(mayBeExact, false),
                             mayBeDelicate, result);
    }
    return proof == Proof::Found;
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
    result.iterations.proximal = extent_.isProximal() ? 1 : 0;
}

}  // namespace activeset::frontend
