// What becomes of a prediction: an answer where it proves itself, else the start of the core.
#include <utility>

#include "frontend/engine.hpp"
#include "frontend/predictor.hpp"
#include "frontend/proofs.hpp"

namespace activeset::frontend {

// Somebody counts the passes of the core, or listens to them.
bool Engine::isWatched() const {
    return settings_.onPass || settings_.maxIterations != 0;
}

bool Engine::mayPredict() const {
    const bool isWanted =
        settings_.start == Start::Predict || (settings_.start == Start::Automatic && !isWatched());
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
    std::optional<Run> contradiction;
    const auto isFeasible = [&] {
        if (!hasFeasiblePoint_ && !isWatched()) {
            Run phaseOne = runPhaseOne();
            if (phaseOne.end == RunEnd::Infeasible) {
                contradiction = std::move(phaseOne);
                return false;
            }
            hasFeasiblePoint_ = true;
        }
        return true;
    };
    Prediction prediction = predict(*subproblem, set_, control_, isFeasible);
    answer_.prediction += prediction.rounds;
    answer_.dual += prediction.steps;
    if (control_.mustEnd()) {
        return stop();
    }
    if (contradiction) {
        hasFailedToPredict_ = true;
        return followInfeasible(*contradiction);
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
    consider(std::move(prediction.point), set_);
    if (isProved()) {
        answer_.status = Status::Optimal;
        return Next::Done;
    }
    hasFailedToPredict_ = true;
    return std::nullopt;
}

// A predicted contradiction has to be a proof for points of any size that matters: the equations
// that it comes from may be nearly singular.
bool Engine::provesContradiction(Point multipliers) {
    constexpr double LargestResidual = 1e-12;
    if (!provesInfeasibility(problem_, std::move(multipliers.y), std::move(multipliers.z),
                             answer_)) {
        return false;
    }
    const double residual = answer_.farkas->residual.absolute * leastSize(problem_.user);
    if (!(residual <= LargestResidual)) {
        answer_.farkas.reset();
        return false;
    }
    considerStart();
    answer_.status = Status::Infeasible;
    return true;
}

}  // namespace activeset::frontend
