// What the loop does with a prediction: it is the minimum of the step, or a contradiction, or the
// core begins with it.
#include <utility>

#include "frontend/loop/proximal_loop.hpp"
#include "frontend/predict/predictor.hpp"

namespace activeset::frontend {

bool ProximalLoop::isWatched() const {
    return settings_.onPass || settings_.maxIterations != 0;
}

bool ProximalLoop::mayPredict() const {
    const bool isWanted = settings_.startMode == Start::Predict ||
                          (settings_.startMode == Start::Automatic && !isWatched());
    return isWanted && predicting_ == Predicting::Allowed && !perturbation_.isOn();
}

void ProximalLoop::doNotPredict() {
    if (predicting_ == Predicting::Allowed) {
        predicting_ = Predicting::UntilNextStart;
    }
}

ProximalLoop::Next ProximalLoop::predictMinimum() {
    control_.poll();
    Subproblem* const subproblem = mayPredict() ? problem_.subproblem(rho_) : nullptr;
    if (subproblem == nullptr || control_.mustEnd()) {
        return std::nullopt;
    }
    subproblem->setCentre(centre_);
    Prediction prediction = predict(*subproblem, centre_, set_, control_);
    effort_.guesses += prediction.rounds;
    effort_.dualSteps += prediction.steps;
    if (control_.mustEnd()) {
        return LoopEnd::Stopped;
    }
    if (prediction.isSettled) {
        effort_.wasPredicted = true;
        return takePredicted(std::move(prediction.point), prediction.set);
    }
    doNotPredict();
    if (prediction.isInfeasible) {
        claim_ = {std::move(prediction.point.y), true};
        return LoopEnd::ClaimsInfeasible;
    }
    return std::nullopt;
}

ProximalLoop::Next ProximalLoop::takePredicted(Point point, const WorkingSet& set) {
    if (rho_ > 0.0) {
        stage_ = Stage::Begin;
        return takeMinimum(std::move(point), set);
    }
    centre_ = point.x;
    set_ = set;
    best_.consider(point, set_);
    if (!best_.isExact()) {
        best_.polish(std::move(point), set_);
    }
    if (best_.isExact()) {
        return LoopEnd::Proved;
    }
    doNotPredict();
    return std::nullopt;
}

}  // namespace activeset::frontend
