// What is kept of a problem, and which parts stay valid when its vectors change.
#include "frontend/loop/problem_cache.hpp"

#include <algorithm>
#include <utility>

#include "frontend/loop/hessian_shift.hpp"

namespace activeset::frontend {

namespace {

// Whether the same rows and variables have equal sides.
bool haveSameEqualities(const ProblemData& a, const ProblemData& b) {
    for (std::size_t i = 0; i < a.m; ++i) {
        if ((a.rowLower[i] == a.rowUpper[i]) != (b.rowLower[i] == b.rowUpper[i])) {
            return false;
        }
    }
    for (std::size_t j = 0; j < a.n; ++j) {
        if ((a.lower[j] == a.upper[j]) != (b.lower[j] == b.upper[j])) {
            return false;
        }
    }
    return true;
}

}  // namespace

ProblemCache::ProblemCache(ProblemData problem)
    : user(std::move(problem)), scaling(Scaling::of(user)), scaled(scaling.apply(user)) {}

void ProblemCache::updateVectors(const ProblemData& problem) {
    if (convexity_ && convexity_->kind != Convexity::Strict && !haveSameEqualities(user, problem)) {
        convexity_.reset();  // it was tested on the null space of the equalities
        shift_ = 0.0;
        shifted_.reset();
    }
    if (shifted_) {
        shifted_->updateVectors(problem);
    }
    user.c = problem.c;
    user.rowLower = problem.rowLower;
    user.rowUpper = problem.rowUpper;
    user.lower = problem.lower;
    user.upper = problem.upper;
    user.constant = problem.constant;
    scaling.applyToVectors(user, scaled);
    if (coreForm_ && !coreForm_->updateSides(scaled)) {
        coreForm_.reset();
    }
}

void ProblemCache::forget() {
    if (shifted_) {
        shifted_->forget();
    }
    if (itself_) {
        itself_->forget();
    }
    proximal_.reset();
    refinement_.reset();
    coreForm_.reset();
}

Subproblem* ProblemCache::subproblem(double rho) {
    std::optional<Subproblem>& kept = rho > 0.0 ? proximal_ : itself_;
    if (!kept || kept->rho() != rho) {
        kept.emplace(scaled, rho);
    }
    return kept->isDefinite() ? &*kept : nullptr;
}

const Convexity& ProblemCache::convexity() {
    if (!convexity_) {
        const bool hasFactor = scaled.quadratic && subproblem(0.0) != nullptr;
        convexity_ = hasFactor ? Convexity{Convexity::Strict, {}} : convexityOf(scaled);
        convexity_->direction = scaling.unscaledVariables(std::move(convexity_->direction));
    }
    return *convexity_;
}

double ProblemCache::hessianShift(double most, Control& control) {
    if (shift_ == 0.0 && convexity().kind == Convexity::None) {
        const double found = sufficientShift(user, convexity().direction, control);
        if (control.mustEnd()) {
            return Infinity;
        }
        shift_ = found;
    }
    // Scaled, it may be convex by rounding only with more.
    while (shift_ > 0.0 && shifted_ == nullptr && relativeShift(user, shift_) <= most) {
        auto candidate = std::make_unique<ProblemCache>(frontend::shifted(user, shift_));
        const bool isConvex = candidate->convexity().kind != Convexity::None;
        shifted_ = isConvex ? std::move(candidate) : nullptr;
        shift_ *= isConvex ? 1.0 : 2.0;
    }
    return shift_;
}

const Refinement& ProblemCache::refinementOf(const WorkingSet& set) {
    if (!refinement_ || !(refinement_->set() == set)) {
        refinement_.emplace(scaled, set);
    }
    return *refinement_;
}

CoreForm& ProblemCache::coreForm() {
    if (!coreForm_) {
        coreForm_.emplace(scaled);
    }
    return *coreForm_;
}

Vector& ProblemCache::hessianPlus(double rho) {
    const std::size_t n = scaled.n;
    if (!hessian_) {
        hessian_ = scaled.H.copy();
    }
    if (rho != hessianRho_) {
        hessian_->resize(n * n, 0.0);
        for (std::size_t j = 0; j < n; ++j) {
            (*hessian_)[j * n + j] = (scaled.quadratic ? scaled.columnOfH(j)[j] : 0.0) + rho;
        }
        hessianRho_ = rho;
    }
    return *hessian_;
}

Progress ProblemCache::progressAt(const double* x) const {
    Vector rows(scaled.m, 0.0);
    double value = scaled.constant;
    Progress progress;
    const auto miss = [&progress](double at, double lower, double upper, double unit) {
        progress.violation =
            std::max({progress.violation, (lower - at) * unit, (at - upper) * unit});
    };
    for (std::size_t j = 0; j < scaled.n; ++j) {
        double slope = scaled.c[j];
        if (scaled.quadratic) {
            slope += 0.5 * dot(scaled.columnOfH(j), x, scaled.n);
        }
        value += slope * x[j];
        axpy(x[j], scaled.columnOfA(j), rows.data(), scaled.m);
        miss(x[j], scaled.lower[j], scaled.upper[j], scaling.column[j]);
    }
    for (std::size_t i = 0; i < scaled.m; ++i) {
        miss(rows[i], scaled.rowLower[i], scaled.rowUpper[i], 1.0 / scaling.row[i]);
    }
    progress.objective = value / scaling.objective;
    return progress;
}

}  // namespace activeset::frontend
