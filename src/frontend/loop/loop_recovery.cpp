// What the loop does when plain steps are not enough: longer steps, other weights and tolerances,
// other starts.
#include <algorithm>
#include <cmath>
#include <utility>

#include "frontend/loop/line_search.hpp"
#include "frontend/loop/proximal_loop.hpp"
#include "frontend/loop/proximal_weight.hpp"

namespace activeset::frontend {

namespace {

// The next run is more precise by this factor, down to the least violation and step.
constexpr double Sharpening = 0.1;
constexpr double LeastViolation = 1e-14;
constexpr double LeastStep = 1e-15;
// The next ρ after steps without a proof, and after a Hessian that was not positive definite.
constexpr double LessWeight = 1e-2;
constexpr double MoreWeight = 100.0;

}  // namespace

// Steps that do not get shorter go in one direction, along which the slope may be tiny and its end
// far.
bool ProximalLoop::prolong(const Vector& last) {
    const ProblemData& data = problem_.scaled;
    if (!mayProlong_) {
        return false;
    }
    Vector direction = centre_;
    axpy(-1.0, last.data(), direction.data(), direction.size());
    for (std::size_t j = 0; j < data.n; ++j) {
        constexpr double AtBound = 1e-12;  // relative: the step goes along a bound so close
        const double bound = direction[j] > 0.0 ? data.upper[j] : data.lower[j];
        if (std::isfinite(bound) && std::abs(bound - centre_[j]) <= AtBound * std::abs(bound)) {
            centre_[j] = bound;
            direction[j] = 0.0;
        }
    }
    const double t = lineSearch(data, centre_, direction);
    if (!(t >= 1.0)) {
        return false;
    }
    for (std::size_t j = 0; j < data.n; ++j) {
        const double x = centre_[j] + t * direction[j];
        centre_[j] = std::min(std::max(x, data.lower[j]), data.upper[j]);
    }
    return true;
}

ProximalLoop::Next ProximalLoop::fail(Failure failure) {
    failure_ = failure;
    return LoopEnd::Failed;
}

bool ProximalLoop::recover() {
    if (++failures_ > MostFailures) {
        return false;
    }
    switch (failure_) {
        case Failure::NoProof:
            precision_.violation = std::max(LeastViolation, Sharpening * precision_.violation);
            precision_.step = std::max(LeastStep, Sharpening * precision_.step);
            precision_.multiplier = Sharpening * precision_.multiplier;
            // Far out, a short step may be one that is lost in the rounding of the point.
            rho_ = rho_ > 0.0 ? std::max(LessWeight * rho_, leastWeight(problem_.scaled))
                              : firstWeight(problem_.scaled);
            break;
        case Failure::NotDefinite:
            rho_ = rho_ > 0.0 ? MoreWeight * rho_ : firstWeight(problem_.scaled);
            break;
        case Failure::Core:
            perturbation_.putOn(failures_);
            break;
    }
    return true;
}

void ProximalLoop::resumeFrom(Vector x, CoreForm form) {
    problem_.setCoreForm(std::move(form));
    centre_ = std::move(x);
    set_ = {};
    stage_ = Stage::Begin;
}

bool ProximalLoop::startOver() {
    const Vector origin = originOf(problem_.scaled);
    const bool isFromElsewhere =
        startSet_.size() != 0 || largestMagnitude(start_) > largestMagnitude(origin);
    if (isFromElsewhere) {  // the start has led to nothing
        predicting_ = Predicting::Allowed;
        begin(origin, {});
        return true;
    }
    const bool hasPredicted = effort_.guesses + effort_.dualSteps > 0;
    if (hasPredicted && predicting_ != Predicting::Off) {  // so have the predictions
        predicting_ = Predicting::Off;
        reset();
        return true;
    }
    return false;
}

}  // namespace activeset::frontend
