// Layout of the result of the bare entry function.
#include "cli/strict_report.hpp"

#include <fmt/core.h>
#include <fmt/format.h>

#include <iterator>

#include "cli/json_writer.hpp"
#include "cli/named_sides.hpp"
#include "cli/numbers.hpp"

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
        default:
            return "undecided";
    }
}

const char* mark(const JudgedResidual& residual) {
    return residual.supports ? "" : "  (does not support the outcome)";
}

void addActive(std::string& text, const SolveResult& result) {
    fmt::format_to(std::back_inserter(text), "active           {}, {}, {}, {}\n",
                   counted(result.activeEqualities, "equality", "equalities"),
                   counted(result.activeInequalities, "inequality", "inequalities"),
                   counted(result.activeLower, "lower bound", "lower bounds"),
                   counted(result.activeUpper, "upper bound", "upper bounds"));
}

std::string pointText(const StrictProblem& problem, const std::vector<double>& x) {
    std::string text = "x\n";
    for (std::size_t j = 0; j < x.size(); ++j) {
        fmt::format_to(std::back_inserter(text), "  {}  {:.17g}\n", problem.model.variables[j],
                       x[j]);
    }
    return text;
}

void addByVariable(JsonWriter& json,
                   const char* key,
                   const StrictProblem& problem,
                   const std::vector<double>& values) {
    json.key(key);
    json.open('[');
    for (std::size_t j = 0; j < values.size(); ++j) {
        json.open('{');
        json.member("variable", problem.model.variables[j]);
        json.member("value", values[j]);
        json.close('}');
    }
    json.close(']');
}

void addBySide(JsonWriter& json,
               const StrictProblem& problem,
               const std::vector<double>& multipliers) {
    json.key("multipliers");
    json.open('[');
    visitMultipliers(problem, multipliers,
                     [&](const char* kind, const std::string& name, double multiplier) {
                         json.open('{');
                         json.member("kind", kind);
                         json.member("name", name);
                         json.member("value", multiplier);
                         json.close('}');
                     });
    json.close(']');
}

void addSolution(JsonWriter& json, const StrictProblem& problem, const SolveResult& result) {
    addByVariable(json, "x", problem, result.x);
    addBySide(json, problem, result.lambda);
}

void addActive(JsonWriter& json, const SolveResult& result) {
    json.key("active");
    json.open('{');
    json.member("equalities", result.activeEqualities);
    json.member("inequalities", result.activeInequalities);
    json.member("lower_bounds", result.activeLower);
    json.member("upper_bounds", result.activeUpper);
    json.close('}');
}

void addHeading(JsonWriter& json, const StrictProblem& problem, const std::string& file) {
    json.open('{');
    json.member("schema", StrictSchema);
    json.member("file", file);
    json.member("name", problem.model.name);
    json.member("variables", problem.n());
    json.member("inequalities", problem.mIneq());
    json.member("equalities", problem.mEq());
    json.member("sense", problem.model.maximise ? "max" : "min");
}

}  // namespace

std::string outcomeText(const SolveResult& result) {
    // If phase one was cut short, there may be a feasible point.
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

std::string strictSummaryText(const StrictProblem& problem,
                              const SolveResult& result,
                              const Verdict& verdict) {
    std::string text;
    const auto out = std::back_inserter(text);
    fmt::format_to(out, "outcome          {} ({})\n", outcomeText(result), result.code);
    const bool isFeasible = result.code != -2 && result.code != -3;
    if (isFeasible) {
        fmt::format_to(out, "objective        {:.10g}{}{}\n", verdict.objective.value,
                       problem.model.maximise ? ", a maximum" : "", mark(verdict.objective));
    }
    fmt::format_to(out, "iterations       {}", result.iterations);
    if (result.phaseOneRan) {
        fmt::format_to(out, ", after {} of phase one", result.phaseOneIterations);
    }
    text += "\n";
    if (isFeasible) {
        addActive(text, result);
    }
    fmt::format_to(out, "primal residual  {:.1e}{}\n", verdict.primal.value, mark(verdict.primal));
    fmt::format_to(out, "dual residual    {:.1e}{}\n", verdict.dual.value, mark(verdict.dual));
    fmt::format_to(out, "complementarity  {:.1e}{}\n\n", verdict.complementarity.value,
                   mark(verdict.complementarity));
    return text;
}

std::string strictSolutionText(const StrictProblem& problem, const SolveResult& result) {
    std::string text = pointText(problem, result.x) + "multipliers other than 0\n";
    visitMultipliers(problem, result.lambda,
                     [&](const char* kind, const std::string& name, double multiplier) {
                         if (multiplier != 0.0) {
                             fmt::format_to(std::back_inserter(text), "  {} {}  {:.17g}\n", kind,
                                            name, multiplier);
                         }
                     });
    return text + "\n";
}

std::string strictJsonText(const StrictProblem& problem,
                           const std::string& file,
                           const SolveResult& result,
                           const Verdict& verdict) {
    JsonWriter json;
    addHeading(json, problem, file);
    json.member("core_exit_code", result.code);
    json.member("outcome", outcomeText(result));
    json.member("supported", verdict.supports());
    json.member("objective", verdict.objective.value);
    json.member("iterations", result.iterations);
    json.member("phase_one_iterations", result.phaseOneIterations);
    addActive(json, result);
    json.member("primal_residual", verdict.primal.value);
    json.member("dual_residual", verdict.dual.value);
    json.member("complementarity", verdict.complementarity.value);
    addSolution(json, problem, result);
    json.close('}');
    return std::move(json).text();
}

}  // namespace activeset::cli
