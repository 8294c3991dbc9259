// Solves a problem whose H may have lost its convexity by rounding.
#include <array>
#include <charconv>
#include <string>
#include <utility>

#include "frontend/loop/hessian_shift.hpp"
#include "frontend/proof/certificate.hpp"
#include "frontend/solve.hpp"

namespace activeset::frontend {

namespace {

// Rounds up, because the tolerance that is printed has to be large enough.
std::string printed(double value) {
    std::array<char, 32> text{};
    constexpr double RoundedUp = 1.01;
    return {text.data(), std::to_chars(text.data(), text.data() + text.size(), RoundedUp * value,
                                       std::chars_format::general, 3)
                             .ptr};
}

std::string messageOf(const ProblemData& data, double shift) {
    if (!(shift < Infinity)) {
        return "H is not convex";
    }
    // A shift beyond this is not what rounding has taken: the answer would be that of another
    // problem.
    constexpr double PlausibleRounding = 1e-3;
    const double relative = relativeShift(data, shift);
    const std::string text = "H is not convex; H + " + printed(shift) + " I is";
    return relative <= PlausibleRounding
               ? text + ": a convexity tolerance of " + printed(relative) + " solves that"
               : text + ", which is another problem";
}

}  // namespace

Result solveConvexified(ProblemCache& problem,
                        Vector x,
                        const WorkingSet& set,
                        const Settings& settings,
                        Control& control) {
    const double shift = problem.hessianShift(settings.convexityTolerance, control);
    // An earlier solve may have allowed for more.
    const bool isShifted = problem.shifted() != nullptr &&
                           relativeShift(problem.user, shift) <= settings.convexityTolerance;
    ProblemCache& convex = isShifted ? *problem.shifted() : problem;
    Result result = solvePrepared(convex, std::move(x), set, settings, control);
    const auto objective = [&] {
        return judge(problem.user, {result.x, result.y, result.z}).objective;
    };
    if (isShifted) {
        result.hessianShift = shift;
        result.objective = hasObjective(result.status) ? objective() : result.objective;
    } else if (result.status == Status::NotConvex && shift == Infinity && control.mustEnd()) {
        result.status = *control.end();  // with a shift it might have been solved
        result.objective = objective();
        result.direction.clear();
        result.directionResidual = {};
    } else if (result.status == Status::NotConvex) {
        result.message = messageOf(problem.user, shift);
    }
    return result;
}

}  // namespace activeset::frontend
