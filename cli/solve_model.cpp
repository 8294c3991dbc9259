// A model lent to the front end as views.
#include "cli/solve_model.hpp"

#include <algorithm>
#include <chrono>

namespace activeset::cli {

namespace {

Penalty viewOf(const io::Penalties& penalty) {
    return {penalty.lowerLinear, penalty.upperLinear, penalty.lowerQuadratic,
            penalty.upperQuadratic};
}

}  // namespace

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

Problem viewsOf(const io::Model& model) {
    const std::size_t n = model.n();
    const std::size_t m = model.m();
    Problem views;
    views.H = {model.H, n, n};
    views.c = model.c;
    views.A = {model.A, m, m == 0 ? 0 : n};
    views.rowLower = model.rowLower;
    views.rowUpper = model.rowUpper;
    views.lower = model.lower;
    views.upper = model.upper;
    views.constant = model.constant;
    views.rowPenalty = viewOf(model.rowPenalty);
    views.boundPenalty = viewOf(model.boundPenalty);
    return views;
}

Solution solveModel(const io::Model& model, const Settings& settings, const WarmStart* warm) {
    Problem views = viewsOf(model);
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
    solution.conflict = explainInfeasibility(viewsOf(model), settings);
}

}  // namespace activeset::cli
