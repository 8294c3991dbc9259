// What becomes of a prediction: an answer where it proves itself, else the start of the core.
#include <utility>

#include "frontend/engine.hpp"
#include "frontend/predict/predictor.hpp"
#include "frontend/proof/units.hpp"
#include "frontend/proofs.hpp"

namespace activeset::frontend {

// Somebody counts the passes of the core, or listens to them.
bool Engine::isWatched() const {
    return settings_.onPass || settings_.maxIterations != 0;
}

bool Engine::mayPredict() const {
    const bool isWanted = settings_.startMode == Start::Predict ||
                          (settings_.startMode == Start::Automatic && !isWatched());
    return isWanted && !hasFailedToPredict_ && !unperturbed_;
}

// Predicts the minimum of the subproblem, from the working set that there is to begin with. Without
// an outcome the core has to find it, from the prediction if there is one.
std::optional<Engine::Next> Engine::followPrediction() {
    control_.poll();
    Subproblem* subproblem = mayPredict() ? problem_.subproblem(rho_) : nullptr;
    if (subproblem == nullptr || control_.mustEnd()) {
        return std::nullopt;
    }
    subproblem->setCentre(centre_);
    Prediction prediction = predict(*subproblem, set_, control_);
    answer_.prediction += prediction.rounds;
    answer_.dual += prediction.steps;
    if (control_.mustEnd()) {
        return stop();
    }
    if (prediction.isInfeasible && provesContradiction(std::move(prediction.point))) {
        return Next::Done;
    }
    hasFailedToPredict_ = !prediction.isSettled;
    if (!prediction.isSettled) {
        return std::nullopt;
    }
    answer_.wasPredicted = true;
    if (rho_ > 0.0) {
        return followMinimum(std::move(prediction.point), prediction.set);
    }
    centre_ = prediction.point.x;
    set_ = prediction.set;
    consider(prediction.point, set_);
    if (!isExact()) {
        polish(std::move(prediction.point), set_);
    }
    if (isExact()) {
        return Next::Done;
    }
    hasFailedToPredict_ = true;
    return std::nullopt;
}

bool Engine::provesContradiction(Point multipliers) {
    const Polishing polishing(control_);
    if (!provesInfeasibility(problem_, std::move(multipliers.y), answer_)) {
        return false;
    }
    // The equations that it comes from may be nearly singular.
    constexpr double Far = 1e12;
    if (!(answer_.farkas->radius >= Far * leastSize(problem_.user))) {
        answer_.farkas.reset();
        return false;
    }
    considerStart();
    answer_.status = Status::Infeasible;
    return true;
}

}  // namespace activeset::frontend
