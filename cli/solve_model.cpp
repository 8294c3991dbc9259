// A model lent to the front end as views.
#include "cli/solve_model.hpp"

#include <algorithm>
#include <chrono>

namespace activeset::cli {

bool Solution::hasPoint() const {
    switch (result.status) {
        case Status::Optimal:
        case Status::IterationLimit:
        case Status::TimeLimit:
        case Status::Interrupted:
        case Status::Inaccurate:
            return !result.x.empty();
        default:
            return false;
    }
}

bool Solution::isProved() const {
    switch (result.status) {
        case Status::Optimal:
            return true;
        case Status::Infeasible:
            return result.farkas.has_value();
        case Status::Unbounded:
        case Status::NotConvex:
            return !result.direction.empty();
        default:
            return false;
    }
}

Solution solveModel(const io::Model& model, const Settings& settings, const WarmStart* warm) {
    Problem views = io::viewsOf(model);
    views.warmStart = warm;
    Solution solution;
    solution.result = solve(views, settings);
    const double objective = solution.result.objective;
    solution.objective = model.maximise ? 0.0 - objective : objective;
    return solution;
}

void findConflict(const io::Model& model, Settings settings, Solution& solution) {
    constexpr std::chrono::seconds Longest{30};
    settings.timeLimit = std::min(settings.timeLimit, std::chrono::duration<double>(Longest));
    settings.onPass = nullptr;
    settings.maxIterations = 0;
    solution.conflict = explainInfeasibility(io::viewsOf(model), settings);
}

}  // namespace activeset::cli
