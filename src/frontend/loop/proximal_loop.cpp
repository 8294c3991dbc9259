// The steps of the loop.
#include "frontend/loop/proximal_loop.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "frontend/algebra/dense.hpp"
#include "frontend/loop/proximal_weight.hpp"
#include "frontend/problem/constraints.hpp"

namespace activeset::frontend {

namespace {

constexpr int MostInexactProofs = 2;
constexpr int FewSteadySteps = 3;
constexpr double SteadyShare = 0.1;  // a step is steady if its ρ·‖step‖ is this share of the last
constexpr double WeightDecay = 0.1;  // ρ after a steady step, in proportion to ρ before

double distance(const Vector& a, const Vector& b) {
    double largest = 0.0;
    for (std::size_t j = 0; j < a.size(); ++j) {
        largest = std::max(largest, std::abs(a[j] - b[j]));
    }
    return largest;
}

Vector difference(const Vector& a, const Vector& b) {
    Vector result = a;
    axpy(-1.0, b.data(), result.data(), result.size());
    return result;
}

}  // namespace

Vector originOf(const ProblemData& data) {
    Vector x(data.n);
    for (std::size_t j = 0; j < x.size(); ++j) {
        x[j] = std::min(std::max(0.0, data.lower[j]), data.upper[j]);
    }
    return x;
}

ProximalLoop::ProximalLoop(ProblemCache& problem, const Settings& settings, Control& control)
    : problem_(problem),
      settings_(settings),
      control_(control),
      best_(problem, settings, control),
      perturbation_(problem) {}

void ProximalLoop::begin(Vector x, const WorkingSet& set) {
    start_ = std::move(x);
    startSet_ = set.size() != 0 ? Constraints(problem_.scaled, set).workingSet() : WorkingSet();
    reset();
}

// Forgets all that was done but the best point.
void ProximalLoop::reset() {
    perturbation_.takeOff();
    stage_ = Stage::Begin;
    centre_ = start_;
    set_ = startSet_;
    rho_ = problem_.convexity().kind == Convexity::Strict ? 0.0 : firstWeight(problem_.scaled);
    precision_ = {};
    lastForce_ = Infinity;
    steadySteps_ = 0;
    failures_ = 0;
    inexactProofs_ = 0;
}

bool ProximalLoop::provesStart() {
    const bool isPredicted = rho_ == 0.0 && mayPredict();
    if (isPredicted || set_.size() == 0) {
        return false;
    }
    best_.considerRefined({centre_, Vector(problem_.scaled.m, 0.0), Vector(problem_.scaled.n, 0.0)},
                          set_);
    return best_.isProved();
}

LoopEnd ProximalLoop::run() {
    Next end;
    while (!end) {
        switch (std::exchange(stage_, Stage::Begin)) {
            case Stage::Begin:
                end = beginStep();
                break;
            case Stage::Core:
                end = runOnCore();
                break;
            case Stage::Recentre:
                end = recentre();
                break;
        }
    }
    return *end;
}

ProximalLoop::Next ProximalLoop::beginStep() {
    control_.poll();
    if (control_.mustEnd()) {
        return LoopEnd::Stopped;
    }
    effort_.proximalSteps += rho_ > 0.0 ? 1 : 0;
    stage_ = Stage::Core;  // unless a prediction is enough
    return predictMinimum();
}

ProximalLoop::Next ProximalLoop::runOnCore() {
    const Run run = runOfStep();
    effort_.exitCode = run.exitCode;
    switch (run.end) {
        case RunEnd::Optimal: {
            Point point;
            problem_.coreForm().multipliers(run.lambda.data(), point.y, point.z);
            point.x = run.x;
            return takeMinimum(std::move(point), setOf(run));
        }
        case RunEnd::Infeasible:
            takeClaim(run);
            return LoopEnd::ClaimsInfeasible;
        case RunEnd::Stopped:
            considerReached(run);
            return LoopEnd::Stopped;
        default:
            if (!run.x.empty()) {
                centre_ = run.x;
                set_ = setOf(run);
            }
            return fail(run.end == RunEnd::NotDefinite ? Failure::NotDefinite : Failure::Core);
    }
}

WorkingSet ProximalLoop::setOf(const Run& run) {
    const CoreForm& form = problem_.coreForm();
    return form.fromCore(problem_.scaled, run.set, run.droppedEqualities).workingSet();
}

void ProximalLoop::takeClaim(const Run& run) {
    claim_ = {};
    if (run.phaseOneLambda.empty()) {
        return;
    }
    Vector z;
    problem_.coreForm().multipliers(run.phaseOneLambda.data(), claim_.y, z);
    if (!run.x.empty()) {
        best_.considerWithoutMultipliers(run.x);
    }
}

Run ProximalLoop::runOfStep() {
    Vector c = proximalSlope(problem_.scaled, rho_, centre_);
    // The rounding of a point far out is no violation.
    constexpr double ViolationRounding = 1e-14;
    Precision precision = precision_;
    precision.violation =
        std::max(precision.violation, ViolationRounding * largestMagnitude(centre_));
    CoreForm& form = problem_.coreForm();
    return runCore(form, problem_.hessianPlus(rho_), c, centre_,
                   form.toCore(Constraints(problem_.scaled, set_)), precision, control_,
                   [&](const double* x, const CoreSet& set, const auto& dropped) {
                       Progress progress = problem_.progressAt(x);
                       progress.workingSet =
                           form.fromCore(problem_.scaled, set, dropped).workingSet();
                       return progress;
                   });
}

// Considers what a stopped run has reached, without refinement, since the solution of its working
// set may violate other constraints. A feasible point replaces any that is better otherwise.
void ProximalLoop::considerReached(const Run& run) {
    if (run.x.empty() || best_.isProved()) {
        return;
    }
    Point point;
    problem_.coreForm().multipliers(run.lambda.data(), point.y, point.z);
    point.x = run.x;
    const Vector users = problem_.scaling.unscaledVariables(run.x);
    if (violation(problem_.user, users).relative <= settings_.tolerance) {
        best_.forget();
    }
    best_.consider(std::move(point), setOf(run));
}

ProximalLoop::Next ProximalLoop::takeMinimum(Point point, const WorkingSet& set) {
    minimum_ = point.x;
    set_ = set;
    best_.polish(std::move(point), set);
    if (best_.isProved()) {
        if (best_.isExact() || ++inexactProofs_ > MostInexactProofs) {
            return LoopEnd::Proved;
        }
        doNotPredict();  // the core meets its constraints to the last digit
    }
    if (perturbation_.isOn()) {
        perturbation_.takeOff();
        centre_ = minimum_;
        return std::nullopt;
    }
    const double step = distance(minimum_, centre_);
    drift_ = {{}, rho_ * step > SteadyShare * lastForce_, steadySteps_ >= FewSteadySteps};
    if (rho_ > 0.0 && step > 0.0 && (drift_.isSteady || drift_.isLasting)) {
        drift_.direction = difference(minimum_, centre_);
        stage_ = Stage::Recentre;
        return LoopEnd::Drifts;
    }
    return recentre();
}

ProximalLoop::Next ProximalLoop::recentre() {
    constexpr double NoStep = 1e-13;
    const double step = distance(minimum_, centre_);
    const double force = rho_ * step;
    const Vector last = std::exchange(centre_, minimum_);
    const bool isSteady = !(force < SteadyShare * lastForce_);
    const bool isOneTooMany = effort_.proximalSteps > mostSteps_;
    if (isSteady && rho_ > 0.0 && !isOneTooMany && prolong(last)) {
        lastForce_ = Infinity;
        return std::nullopt;
    }
    const bool hasConverged =
        rho_ == 0.0 || step <= NoStep * std::max(1.0, largestMagnitude(minimum_));
    if (hasConverged || isOneTooMany) {
        doNotPredict();
        return fail(Failure::NoProof);
    }
    if (isSteady) {
        rho_ = std::max(WeightDecay * rho_, leastWeight(problem_.scaled));
        ++steadySteps_;
    }
    lastForce_ = force;
    return std::nullopt;
}

}  // namespace activeset::frontend
