// What becomes of a prediction: an answer where it proves itself, else the start of the core.
#include <utility>

#include "frontend/engine.hpp"
#include "frontend/predictor.hpp"
#include "frontend/proofs.hpp"

namespace activeset::frontend {

bool Engine::mayPredict() const {
    const bool isWatched = settings_.onPass || settings_.maxIterations != 0;
    return rho_ == 0.0 && (settings_.start == Start::Predict ||
                           (settings_.start == Start::Automatic && !isWatched));
}

// Predicts the working set, from the one that there is to begin with. Where the prediction is not
// proved as it stands, the core begins with it.
bool Engine::provesPrediction() {
    control_.poll();
    const Dense* factor = mayPredict() ? problem_.factorOfHessian() : nullptr;
    if (factor == nullptr || control_.mustEnd()) {
        return false;
    }
    Prediction prediction = predict(problem_.scaled, *factor, set_, control_);
    answer_.prediction = prediction.rounds;
    answer_.dual = prediction.steps;
    if (prediction.isInfeasible) {
        return provesContradiction(std::move(prediction.point));
    }
    if (!prediction.isSettled) {
        return false;
    }
    answer_.wasPredicted = true;
    centre_ = prediction.point.x;
    set_ = prediction.set;
    consider(std::move(prediction.point), set_);
    answer_.status = isProved() ? Status::Optimal : answer_.status;
    return isProved();
}

// A predicted contradiction has to be a proof for points of any size that matters: the equations
// that it comes from may be nearly singular.
bool Engine::provesContradiction(Point multipliers) {
    constexpr double LargestResidual = 1e-12;
    if (!provesInfeasibility(problem_, std::move(multipliers.y), std::move(multipliers.z),
                             answer_)) {
        return false;
    }
    if (!(answer_.farkas->residual.absolute <= LargestResidual)) {
        answer_.farkas.reset();
        return false;
    }
    consider({centre_, Vector(problem_.scaled.m, 0.0), Vector(problem_.scaled.n, 0.0)}, set_);
    answer_.status = Status::Infeasible;
    return true;
}

}  // namespace activeset::frontend
