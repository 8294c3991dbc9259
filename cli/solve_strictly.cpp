// A model solved once by the bare entry function, and judged by its residuals.
#include "cli/solve_strictly.hpp"

#include <fmt/format.h>

#include <iostream>
#include <utility>

#include "cli/console.hpp"
#include "cli/exit_status.hpp"
#include "cli/numbers.hpp"
#include "cli/strict_report.hpp"
#include "cli/verdict.hpp"
#include "cli/visible.hpp"

namespace activeset::cli {

namespace {

int strictStatus(const SolveResult& result, const Verdict& verdict) {
    if (result.code == 0 || outcomeText(result).starts_with("iteration limit")) {
        return LimitReached;
    }
    if (result.interrupted) {
        return WasInterrupted;
    }
    if (!verdict.supports()) {
        return IsInaccurate;
    }
    return result.code == 1 ? Solved : result.code == -4 ? IsNotConvex : IsInfeasible;
}

}  // namespace

void solveStrictly(io::Model content,
                   const std::string& file,
                   const SolveOptions& options,
                   FileOutcome& outcome) {
    const std::string soft = io::softMember(content);
    if (!soft.empty()) {
        throw io::ReadError(file, 0, soft + " is soft, and the entry function has no penalties");
    }
    StrictProblem problem(std::move(content));
    const io::Model& model = problem.model;
    if (!options.json) {
        std::cout << visible(fmt::format("{}: {}{}{}, {}, {}\n", shownFile(file), model.name,
                                         model.name.empty() ? "" : ", ",
                                         counted(problem.n(), "variable", "variables"),
                                         counted(problem.mIneq(), "inequality", "inequalities"),
                                         counted(problem.mEq(), "equality", "equalities")));
    }
    const SolveResult result = solveProblem(problem, options.strictSettings);
    const Verdict verdict = judge(problem, result, options.strictSettings);
    outcome.row.outcome = outcomeText(result);
    outcome.row.variables = model.n();
    outcome.row.rows = model.m();
    outcome.row.steps = static_cast<std::size_t>(result.iterations) +
                        static_cast<std::size_t>(result.phaseOneIterations);
    outcome.row.objective = verdict.objective.value;
    outcome.status = strictStatus(result, verdict);
    outcome.json = strictJsonText(problem, file, result, verdict);
    outcome.text = visible(strictSummaryText(problem, result, verdict));
    if (options.solution) {
        outcome.text += visible(strictSolutionText(problem, result));
    }
}

}  // namespace activeset::cli
