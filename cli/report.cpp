// Layout of the summary, of the solution by name and of the JSON objects.
#include "cli/report.hpp"

#include <fmt/core.h>
#include <fmt/format.h>

#include <iterator>
#include <nlohmann/json.hpp>
#include <string_view>
#include <utility>

namespace activeset::cli {

namespace {

const char* wordsFor(int code) {
    switch (code) {
        case 1:
            return "optimal";
        case 0:
            return "iteration limit reached";
        case -1:
            return "interrupted";
        case -2:
            return "infeasible";
        case -3:
            return "equality constraints dependent and inconsistent";
        case -4:
            return "reduced Hessian not positive definite";
        case 2:
            return "objective limit reached";
        case 3:
            return "unbounded";
        case 4:
            return "ill-posed";
        default:
            return "undecided";
    }
}

const char* mark(const Residual& residual) {
    return residual.supports ? "" : "  (does not support the outcome)";
}

std::string counted(std::size_t count, const char* one, const char* many) {
    return fmt::format("{} {}", count, count == 1 ? one : many);
}

/// Sides of the constraints in the order of the multipliers.
template <class Visit>
void visitMultipliers(const io::Problem& problem, const SolveResult& result, Visit visit) {
    auto lambda = result.lambda.begin();
    for (const std::string& name : problem.equalityNames) {
        visit("equality", name, *lambda++);
    }
    for (const io::InequalityOrigin& origin : problem.inequalities) {
        visit(origin.upper ? "upper side" : "lower side", origin.row, *lambda++);
    }
    for (const char* const kind : {"lower bound", "upper bound"}) {
        for (const std::string& name : problem.variableNames) {
            visit(kind, name, *lambda++);
        }
    }
}

/// Names in a file need not be UTF-8; what is not becomes the replacement character.
std::string lineOf(const nlohmann::ordered_json& object) {
    return object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

void addSolution(nlohmann::ordered_json& object,
                 const io::Problem& problem,
                 const SolveResult& result) {
    object["x"] = nlohmann::ordered_json::array();
    for (std::size_t j = 0; j < problem.n; ++j) {
        object["x"].push_back({{"variable", problem.variableNames[j]}, {"value", result.x[j]}});
    }
    object["multipliers"] = nlohmann::ordered_json::array();
    visitMultipliers(problem, result,
                     [&](const char* kind, const std::string& name, double multiplier) {
                         object["multipliers"].push_back(
                             {{"kind", kind}, {"name", name}, {"value", multiplier}});
                     });
}

nlohmann::ordered_json activeOf(const SolveResult& result) {
    return {{"equalities", result.activeEqualities},
            {"inequalities", result.activeInequalities},
            {"lower_bounds", result.activeLower},
            {"upper_bounds", result.activeUpper}};
}

void addActive(std::string& text, const SolveResult& result) {
    fmt::format_to(std::back_inserter(text), "active           {}, {}, {}, {}\n",
                   counted(result.activeEqualities, "equality", "equalities"),
                   counted(result.activeInequalities, "inequality", "inequalities"),
                   counted(result.activeLower, "lower bound", "lower bounds"),
                   counted(result.activeUpper, "upper bound", "upper bounds"));
}

double objectiveOf(const io::Problem& problem, const Result& result) {
    return problem.maximise ? 0.0 - result.objective : result.objective;
}

/// What stands behind an outcome that is no optimum.
std::string proofText(const Result& result) {
    switch (result.status) {
        case Status::Infeasible:
            return result.farkas ? fmt::format(", proved by multipliers with residual {:.1e}",
                                               result.farkas->residual.relative)
                                 : ", without a proof";
        case Status::Unbounded:
            return fmt::format(", proved by a ray with residual {:.1e}",
                               result.directionResidual.relative);
        case Status::NotConvex:
            return fmt::format(", proved by a direction with curvature {:.1e}",
                               result.directionResidual.absolute);
        default:
            return "";
    }
}

}  // namespace

std::string outcomeText(const SolveResult& result) {
    // Phase one that is cut short has not shown that there is no feasible point.
    if (result.code == -2 && result.phaseOneRan && result.iterations == 0) {
        if (result.interrupted) {
            return "interrupted before a feasible point was found";
        }
        if (result.phaseOneIterations > result.maxIter) {
            return "iteration limit reached before a feasible point was found";
        }
    }
    return wordsFor(result.code);
}

std::string headingText(const io::Problem& problem, const std::string& file) {
    return fmt::format("{}: {}{}{}, {}, {}\n", file, problem.name, problem.name.empty() ? "" : ", ",
                       counted(problem.n, "variable", "variables"),
                       counted(problem.mIneq, "inequality", "inequalities"),
                       counted(problem.mEq, "equality", "equalities"));
}

std::string summaryText(const io::Problem& problem,
                        const SolveResult& result,
                        const Verdict& verdict) {
    std::string text;
    const auto out = std::back_inserter(text);
    fmt::format_to(out, "outcome          {} ({})\n", outcomeText(result), result.code);
    fmt::format_to(out, "objective        {:.10g}{}{}\n", verdict.objective.value,
                   problem.maximise ? ", a maximum" : "", mark(verdict.objective));
    fmt::format_to(out, "iterations       {}", result.iterations);
    if (result.phaseOneRan) {
        fmt::format_to(out, ", after {} of phase one", result.phaseOneIterations);
    }
    text += "\n";
    addActive(text, result);
    fmt::format_to(out, "primal residual  {:.1e}{}\n", verdict.primal.value, mark(verdict.primal));
    fmt::format_to(out, "dual residual    {:.1e}{}\n", verdict.dual.value, mark(verdict.dual));
    fmt::format_to(out, "complementarity  {:.1e}{}\n\n", verdict.complementarity.value,
                   mark(verdict.complementarity));
    return text;
}

std::string summaryText(const io::Problem& problem, const ProvedResult& proved) {
    const Result& result = proved.result;
    std::string text;
    const auto out = std::back_inserter(text);
    fmt::format_to(out, "outcome          {}{}\n", textOf(result.status), proofText(result));
    fmt::format_to(out, "objective        {:.10g}{}\n", objectiveOf(problem, result),
                   problem.maximise ? ", a maximum" : "");
    fmt::format_to(out, "iterations       {}", result.iterations.main);
    if (result.wasPredicted) {
        fmt::format_to(out, ", from a prediction of {}",
                       counted(result.iterations.prediction, "round", "rounds"));
        if (result.iterations.dual > 0) {
            fmt::format_to(out, " and {}",
                           counted(result.iterations.dual, "dual step", "dual steps"));
        }
    }
    if (result.iterations.phaseOne > 0) {
        fmt::format_to(out, ", after {} of phase one", result.iterations.phaseOne);
    }
    if (result.iterations.proximal > 0) {
        fmt::format_to(out, ", in {}",
                       counted(result.iterations.proximal, "proximal step", "proximal steps"));
    }
    text += "\n";
    addActive(text, proved.solution);
    const Certificate& certificate = result.certificate;
    for (const auto& [name, residual] : {std::pair("primal residual", certificate.primal),
                                         std::pair("dual residual", certificate.dual),
                                         std::pair("duality gap", certificate.gap)}) {
        fmt::format_to(out, "{:<16} {:.1e}, relative {:.1e}\n", name, residual.absolute,
                       residual.relative);
    }
    return text + "\n";
}

std::string solutionText(const io::Problem& problem, const SolveResult& result) {
    std::string text = "x\n";
    const auto out = std::back_inserter(text);
    for (std::size_t j = 0; j < problem.n; ++j) {
        fmt::format_to(out, "  {}  {:.17g}\n", problem.variableNames[j], result.x[j]);
    }
    text += "multipliers other than 0\n";
    visitMultipliers(problem, result,
                     [&](const char* kind, const std::string& name, double multiplier) {
                         if (multiplier != 0.0) {
                             fmt::format_to(out, "  {} {}  {:.17g}\n", kind, name, multiplier);
                         }
                     });
    text += "\n";
    return text;
}

std::string jsonText(const io::Problem& problem,
                     const std::string& file,
                     const SolveResult& result,
                     const Verdict& verdict,
                     bool withSolution) {
    nlohmann::ordered_json object{{"file", file},
                                  {"name", problem.name},
                                  {"variables", problem.n},
                                  {"inequalities", problem.mIneq},
                                  {"equalities", problem.mEq},
                                  {"code", result.code},
                                  {"outcome", outcomeText(result)},
                                  {"supported", verdict.supports()},
                                  {"objective", verdict.objective.value},
                                  {"iterations", result.iterations},
                                  {"phase_one_iterations", result.phaseOneIterations},
                                  {"active", activeOf(result)},
                                  {"primal_residual", verdict.primal.value},
                                  {"dual_residual", verdict.dual.value},
                                  {"complementarity", verdict.complementarity.value}};
    if (withSolution) {
        addSolution(object, problem, result);
    }
    return lineOf(object);
}

std::string jsonText(const io::Problem& problem,
                     const std::string& file,
                     const ProvedResult& proved,
                     bool withSolution) {
    const Result& result = proved.result;
    const Certificate& certificate = result.certificate;
    nlohmann::ordered_json object{{"file", file},
                                  {"name", problem.name},
                                  {"variables", problem.n},
                                  {"inequalities", problem.mIneq},
                                  {"equalities", problem.mEq},
                                  {"code", result.exitCode},
                                  {"outcome", textOf(result.status)},
                                  {"objective", objectiveOf(problem, result)},
                                  {"iterations", result.iterations.main},
                                  {"phase_one_iterations", result.iterations.phaseOne},
                                  {"predicted", result.wasPredicted},
                                  {"prediction_rounds", result.iterations.prediction},
                                  {"dual_steps", result.iterations.dual},
                                  {"proximal_steps", result.iterations.proximal},
                                  {"corrections", result.iterations.refinement},
                                  {"seconds", result.times.total},
                                  {"active", activeOf(proved.solution)},
                                  {"primal_residual", certificate.primal.absolute},
                                  {"dual_residual", certificate.dual.absolute},
                                  {"duality_gap", certificate.gap.absolute},
                                  {"relative_primal_residual", certificate.primal.relative},
                                  {"relative_dual_residual", certificate.dual.relative},
                                  {"relative_duality_gap", certificate.gap.relative}};
    if (withSolution) {
        addSolution(object, problem, proved.solution);
    }
    return lineOf(object);
}

std::string jsonErrorText(const std::string& file, const std::string& message) {
    return lineOf({{"file", file}, {"error", message}});
}

}  // namespace activeset::cli
