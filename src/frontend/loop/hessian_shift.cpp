// The search for the shift of H.
#include "frontend/loop/hessian_shift.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "frontend/algebra/dense.hpp"
#include "frontend/proof/convexity.hpp"

namespace activeset::frontend {

namespace {

constexpr int MostTrials = 100;  // nearly all of them double δ
constexpr int MostSteps = 8;     // trials in which δ may grow by little
constexpr double LeastGrowth = 1.02;

// A little more than −dᵀHd/‖d‖², so that rounding does not find the same direction again.
double leastShift(const ProblemData& data, const Vector& direction) {
    constexpr double ShiftMargin = 1.0 + 1e-3;
    const double length = std::sqrt(dot(direction.data(), direction.data(), data.n));
    Vector unit = direction;
    for (double& entry : unit) {
        entry /= length;
    }
    return -ShiftMargin * curvature(data, unit).absolute;
}

}  // namespace

ShiftedProblem shiftedProblem(ProblemCache& problem, Control& control) {
    double shift = leastShift(problem.user, problem.convexity().direction);
    for (int trial = 0; trial < MostTrials && shift > 0.0 && std::isfinite(shift); ++trial) {
        control.poll();
        if (control.mustEnd()) {
            break;
        }
        auto candidate = std::make_unique<ProblemCache>(shifted(problem.user, shift));
        const Convexity& convexity = candidate->convexity();
        if (convexity.kind != Convexity::None) {
            return {shift, std::move(candidate)};
        }
        // Near the least shift, the direction is nearly the eigenvector that determines it.
        const double least = leastShift(problem.user, convexity.direction);
        shift = least > (trial < MostSteps ? LeastGrowth : 2.0) * shift ? least : 2.0 * shift;
    }
    return {Infinity, nullptr};
}

double relativeShift(const ProblemData& data, double shift) {
    const double largest = data.H.largest();
    double squares = 0.0;
    for (const double entry : data.H) {
        squares += (entry / largest) * (entry / largest);
    }
    return shift / largest / std::sqrt(squares);
}

}  // namespace activeset::frontend
