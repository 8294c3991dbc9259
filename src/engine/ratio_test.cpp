// How far a direction may be followed, and which constraint stops it.
#include <algorithm>
#include <cmath>
#include <span>

#include "activeset/sizes.hpp"
#include "activeset/solver.hpp"
#include "matrix/views.hpp"

using activeset::ConstraintKind;
using activeset::ObjectiveKind;
using activeset::vectorOf;
using Matrix = OPTMatrix<double>;

/// The scan of all constraints outside the working set for the nearest one.
struct IsolverAS::RatioScan {
    double threshold = 0.0;  // rates up to this do not approach a constraint
    double tolerance = 0.0;  // TolCon
    Blocking nearest;

    // One kind in list order. isActive(i) and numberOf(i) take the entry within the kind.
    template <class IsActive, class Number>
    void take(ConstraintKind kind,
              std::span<const double> ratesOfKind,
              std::span<const double> residualsOfKind,
              IsActive isActive,
              Number numberOf) {
        for (size_t i = 0; i < ratesOfKind.size(); ++i) {
            const double rate = ratesOfKind[i];
            if (!(rate > threshold)) {  // NaN approaches nothing
                continue;
            }
            const double ratio = numerator(residualsOfKind[i]) / rate;
            // Strict: ties keep the constraint found first.
            if (nearest.alpha > ratio && !isActive(i)) {
                nearest = {true, true, kind, numberOf(i), i, ratio};
            }
        }
    }

    // The slack of a satisfied constraint; of one violated by less than half the tolerance the
    // violation itself; else what the tolerance leaves, which can be negative. Deliberate: steps
    // near the tolerance's edge depend on it.
    [[nodiscard]] double numerator(double residual) const {
        const double distance = std::abs(residual);
        const double room = tolerance - residual;
        return room > distance ? distance : room;
    }
};

namespace {

// A constraint farther along p than this blocks nothing.
constexpr double FarthestStep = 1e30;

bool contains(const size_t* list, size_t count, size_t value) {
    return std::find(list, list + count, value) != list + count;
}

}  // namespace

template <class IsActive, class Number>
void IsolverAS::_scanKind(RatioScan& scan,
                          ConstraintKind kind,
                          size_t count,
                          const Matrix& p,
                          IsActive isActive,
                          Number numberOf) {
    if (count == 0) {
        return;
    }
    const bool isIneq = kind == ConstraintKind::Inequality;
    const std::span ofKind(vectorOf(isIneq ? ineqRates : rates, count), count);
    const std::span slack(vectorOf(residuals, count), count);
    constraint->productTo(kind, std::span(vectorOf(p, p.size()), p.size()), ofKind);
    _takeResiduals(kind, slack);
    // The lists are looked at behind the products, which are the constraint set's own code and may
    // have done anything to the counts.
    _requireWorkingSet();
    scan.take(kind, ofKind, slack, isActive, numberOf);
}

void IsolverAS::_takeResiduals(ConstraintKind kind, std::span<double> out) {
    const Matrix& point = solution.xstarRef();
    const std::span<const double> at(vectorOf(point, point.size()), point.size());
    const bool isCarried = kind == ConstraintKind::Inequality && _carriesResiduals();
    if (isCarried && ineqResiduals.copyTo(at, out, options->getTolCon())) {
        return;
    }
    constraint->residualTo(kind, at, out);
    if (isCarried) {
        ineqResiduals.take(at, out);
    }
}

bool IsolverAS::_carriesResiduals() const {
    return OPTsizes::getmIneq() * OPTsizes::getnVar() >= smallestCarried;
}

IsolverAS::Blocking IsolverAS::_blockingConstraint(const Matrix& p) {
    const size_t firstIneq = OPTsizes::getmFixed() + OPTsizes::getmEq();
    const size_t firstLower = firstIneq + OPTsizes::getmIneq();
    const size_t firstUpper = firstLower + OPTsizes::getnVar();
    const auto lower = [this](size_t j) { return constraint->getindexLB()[j]; };
    const auto upper = [this](size_t j) { return constraint->getindexUB()[j]; };
    _reservePassVectors();
    RatioScan scan{TolDegeneracy * p.norm(), options->getTolCon(), {}};
    scan.nearest.alpha = FarthestStep;
    // Among equal ratios the first one scanned wins.
    _scanKind(
        scan, ConstraintKind::Inequality, OPTsizes::getmIneq(), p,
        [&](size_t i) { return contains(activeSet.getWineq(), ActiveSet::getmaIneq(), i); },
        [&](size_t i) { return firstIneq + i; });
    _scanKind(
        scan, ConstraintKind::LowerBound, OPTsizes::getmLB(), p,
        [&](size_t j) { return contains(activeSet.getWlower(), ActiveSet::getmaLB(), lower(j)); },
        [&](size_t j) { return firstLower + lower(j); });
    _scanKind(
        scan, ConstraintKind::UpperBound, OPTsizes::getmUB(), p,
        [&](size_t j) { return contains(activeSet.getWupper(), ActiveSet::getmaUB(), upper(j)); },
        [&](size_t j) { return firstUpper + upper(j); });
    Blocking& nearest = scan.nearest;
    const ObjectiveKind type = objective->objectiveKind();
    if (type == ObjectiveKind::Other) {
        return nearest;
    }
    // A constraint exactly at distance 1 blocks the full step of a quadratic objective.
    const double cap = type == ObjectiveKind::Quadratic ? 1.0 : utGetRealMax();
    nearest.isFound = nearest.isFound && !(nearest.alpha > cap);
    nearest.alpha = cap > nearest.alpha ? nearest.alpha : cap;
    return nearest;
}

int IsolverAS::_findBlockingConstraintAndAlpha(
    Matrix& p, size_t& constraintNumber, size_t& kindIndex, std::string& kind, double& alpha) {
    const Blocking blocking = _blockingConstraint(p);
    constraintNumber = blocking.number;
    kindIndex = blocking.kindIndex;
    alpha = blocking.alpha;
    if (blocking.isRecorded) {
        kind = blocking.kind == ConstraintKind::Inequality   ? "ineq"
               : blocking.kind == ConstraintKind::LowerBound ? "lower"
                                                             : "upper";
    }
    return blocking.isFound ? 1 : -1;
}
