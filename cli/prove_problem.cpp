// Equalities and inequalities of a file become the rows of one matrix, and the multipliers of its
// rows come back apart.
#include "cli/prove_problem.hpp"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace activeset::cli {

namespace {

std::vector<double> stacked(const io::Problem& problem) {
    std::vector<double> rows;
    rows.reserve((problem.mEq + problem.mIneq) * problem.n);
    for (std::size_t j = 0; j < problem.n; ++j) {
        const auto append = [&](const std::vector<double>& matrix, std::size_t count) {
            const auto first = matrix.begin() + static_cast<std::ptrdiff_t>(j * count);
            rows.insert(rows.end(), first, first + static_cast<std::ptrdiff_t>(count));
        };
        append(problem.Aeq, problem.mEq);
        append(problem.A, problem.mIneq);
    }
    return rows;
}

std::vector<double> lambdaOf(const std::vector<double>& y, const std::vector<double>& z) {
    std::vector<double> lambda = y;
    for (const double multiplier : z) {
        lambda.push_back(std::max(0.0, -multiplier));
    }
    for (const double multiplier : z) {
        lambda.push_back(std::max(0.0, multiplier));
    }
    return lambda;
}

SolveResult inOrderOfTheFile(const io::Problem& problem, const Result& result) {
    SolveResult solution;
    solution.code = result.exitCode;
    solution.x = result.x;
    solution.objective = result.objective - problem.constant;
    solution.lambda = lambdaOf(result.y, result.z);
    solution.iterations = static_cast<int>(result.iterations.main);
    solution.phaseOneIterations = static_cast<int>(result.iterations.phaseOne);
    solution.phaseOneRan = result.iterations.phaseOne > 0;
    const WorkingSet& set = result.workingSet;
    solution.activeEqualities = set.equalities.size() + set.fixed.size();
    solution.activeInequalities = set.rowsAtLower.size() + set.rowsAtUpper.size();
    solution.activeLower = set.atLower.size();
    solution.activeUpper = set.atUpper.size();
    return solution;
}

}  // namespace

bool ProvedResult::isProved() const {
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

ProvedResult proveProblem(const io::Problem& problem, const Settings& settings) {
    const std::size_t m = problem.mEq + problem.mIneq;
    const std::vector<double> rows = stacked(problem);
    std::vector<double> lower = problem.beq;
    lower.resize(m, -Infinity);
    std::vector<double> upper = problem.beq;
    upper.insert(upper.end(), problem.b.begin(), problem.b.end());
    Problem views;
    views.H = {problem.H, problem.n, problem.n};
    views.c = problem.c;
    views.A = {rows, m, m == 0 ? 0 : problem.n};
    views.rowLower = lower;
    views.rowUpper = upper;
    views.lower = problem.lb;
    views.upper = problem.ub;
    views.constant = problem.constant;
    ProvedResult proved;
    proved.result = solve(views, settings);
    proved.objective = problem.maximise ? 0.0 - proved.result.objective : proved.result.objective;
    proved.solution = inOrderOfTheFile(problem, proved.result);
    if (proved.result.farkas) {
        proved.farkas = lambdaOf(proved.result.farkas->y, proved.result.farkas->z);
    }
    return proved;
}

}  // namespace activeset::cli
