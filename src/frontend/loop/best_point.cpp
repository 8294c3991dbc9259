// Compares points by their largest relative residuals.
#include "frontend/loop/best_point.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "frontend/algebra/dense.hpp"

namespace activeset::frontend {

namespace {

constexpr std::size_t MostCorrections = 20;

double errorOf(const Certificate& certificate) {
    double largest = 0.0;
    for (const Residual& residual : {certificate.primal, certificate.dual, certificate.gap}) {
        if (std::isnan(residual.relative)) {
            return Infinity;  // worse than any other
        }
        largest = std::max(largest, residual.relative);
    }
    return largest;
}

bool isBetter(const Judgement& a, const Judgement& b) {
    return errorOf(a.certificate) < errorOf(b.certificate);
}

}  // namespace

void BestPoint::consider(Point point, const WorkingSet& set) {
    take(std::move(point), set, isBetter);
}

template <class IsTaken>
void BestPoint::take(Point point, const WorkingSet& set, IsTaken isTaken) {
    const Polishing polishing(control_);
    Point users = problem_.scaling.unscaled(point);
    const Judgement judgement = judged(point, set, users);
    if (isEmpty() || isTaken(judgement, judgement_) ||
        (!areFinite(point_.x) && areFinite(point.x))) {
        point_ = std::move(point);
        usersPoint_ = std::move(users);
        set_ = set;
        judgement_ = judgement;
    }
}

void BestPoint::considerWithoutMultipliers(Vector x, const WorkingSet& set) {
    consider({std::move(x), Vector(problem_.scaled.m, 0.0), Vector(problem_.scaled.n, 0.0)}, set);
}

void BestPoint::considerRefined(Point point, const WorkingSet& set) {
    const Polishing polishing(control_);
    corrections_ += problem_.refinementOf(set).apply(point, MostCorrections);
    consider(std::move(point), set);
}

void BestPoint::polish(Point point, const WorkingSet& set) {
    constexpr double ToTheLastDigit = 1e-15;
    const Polishing polishing(control_);
    consider(point, set);
    if (!isProved() || errorOf(judgement_.certificate) > ToTheLastDigit) {
        considerRefined(std::move(point), set);
    }
}

void BestPoint::polishSides(Point point, const WorkingSet& set) {
    polish(point, set);
    take(std::move(point), set, [this](const Judgement& judgement, const Judgement& best) {
        return judgement.certificate.primal.relative < best.certificate.primal.relative &&
               judgement.certificate.holds(std::min(settings_.tolerance, ExactToRounding));
    });
}

void BestPoint::considerAlongFlat() {
    const Polishing polishing(control_);
    Point point = point_;
    const Refinement sharp(problem_.scaled, set_, 0.0);
    corrections_ += sharp.apply(point, MostCorrections);
    consider(std::move(point), WorkingSet(set_));
}

void BestPoint::widenGap(double relative) {
    Residual& gap = judgement_.certificate.gap;
    gap.relative = std::max(gap.relative, relative);
}

// If the point is solved as far as doubles can, and only the rounding of large numbers keeps the
// objective from being proved, judges it with more digits.
Judgement BestPoint::judged(const Point& point, const WorkingSet& set, Point& users) {
    Judgement judgement = settleAndJudge(problem_.user, users);
    const bool needsDigits =
        judgement.error <= ExactToRounding &&
        !judgement.certificate.holds(std::min(settings_.tolerance, ExactToRounding));
    if (needsDigits && areFinite(point.x)) {
        const Point digits =
            problem_.scaling.unscaled(problem_.refinementOf(set).digitsBehind(point));
        const Judgement behind = judge(problem_.user, problem_.scaling.unscaled(point), &digits);
        judgement = isBetter(behind, judgement) ? behind : judgement;
    }
    return judgement;
}

bool BestPoint::isProved() const {
    return judgement_.certificate.holds(settings_.tolerance);
}

bool BestPoint::isExact() const {
    return isProved() && judgement_.error <= ExactToRounding &&
           judgement_.certificate.primal.relative <= FeasibleToRounding;
}

}  // namespace activeset::frontend
