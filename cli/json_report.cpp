// The result of a solve as a JSON object.
#include "cli/json_writer.hpp"
#include "cli/named_sides.hpp"
#include "cli/report.hpp"

namespace activeset::cli {

namespace {

void addByVariable(JsonWriter& json,
                   const char* key,
                   const io::Problem& problem,
                   const std::vector<double>& values) {
    json.key(key);
    json.open('[');
    for (std::size_t j = 0; j < values.size(); ++j) {
        json.open('{');
        json.member("variable", problem.variableNames[j]);
        json.member("value", values[j]);
        json.close('}');
    }
    json.close(']');
}

void addBySide(JsonWriter& json,
               const io::Problem& problem,
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

void addSolution(JsonWriter& json, const io::Problem& problem, const SolveResult& result) {
    addByVariable(json, "x", problem, result.x);
    addBySide(json, problem, result.lambda);
}

/// What shows that there is no optimum.
void addProof(JsonWriter& json,
              const io::Problem& problem,
              const ProvedResult& proved,
              bool withSolution) {
    const Result& result = proved.result;
    if (!proved.isProved() || result.status == Status::Optimal) {
        return;
    }
    json.key(result.farkas ? "farkas" : "direction");
    json.open('{');
    if (result.farkas) {
        json.member("value", result.farkas->value);
        json.member("residual", result.farkas->residual.absolute);
        json.member("relative_residual", result.farkas->residual.relative);
        json.member("radius", result.farkas->radius);
        if (withSolution) {
            addBySide(json, problem, proved.farkas);
        }
    } else {
        if (result.status == Status::NotConvex) {
            json.member("curvature", result.directionResidual.absolute);
        } else {
            json.member("residual", result.directionResidual.absolute);
            json.member("relative_residual", result.directionResidual.relative);
        }
        if (withSolution) {
            addByVariable(json, "entries", problem, result.direction);
        }
    }
    json.close('}');
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

void addHeading(JsonWriter& json, const io::Problem& problem, const std::string& file) {
    json.open('{');
    json.member("file", file);
    json.member("name", problem.name);
    json.member("variables", problem.n);
    json.member("inequalities", problem.mIneq);
    json.member("equalities", problem.mEq);
    json.member("sense", problem.maximise ? "max" : "min");
}

}  // namespace

std::string jsonText(const io::Problem& problem,
                     const std::string& file,
                     const SolveResult& result,
                     const Verdict& verdict,
                     bool withSolution) {
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
    if (withSolution) {
        addSolution(json, problem, result);
    }
    json.close('}');
    return std::move(json).line();
}

std::string jsonText(const io::Problem& problem,
                     const std::string& file,
                     const ProvedResult& proved,
                     bool withSolution) {
    const Result& result = proved.result;
    const Certificate& certificate = result.certificate;
    JsonWriter json;
    addHeading(json, problem, file);
    json.member("outcome", textOf(result.status));
    json.member("proved", proved.isProved());
    if (!result.message.empty()) {
        json.member("message", result.message);
    }
    json.member("objective", proved.objective);
    json.member("hessian_shift", result.hessianShift);
    json.key("core_exit_code");
    if (result.exitCode == Result().exitCode) {
        json.value(nullptr);  // the core did not run
    } else {
        json.value(result.exitCode);
    }
    json.member("iterations", result.iterations.main);
    json.member("phase_one_iterations", result.iterations.phaseOne);
    json.member("predicted", result.wasPredicted);
    json.member("prediction_rounds", result.iterations.prediction);
    json.member("dual_steps", result.iterations.dual);
    json.member("proximal_steps", result.iterations.proximal);
    json.member("corrections", result.iterations.refinement);
    json.member("seconds", result.times.total);
    addActive(json, proved.solution);
    json.member("primal_residual", certificate.primal.absolute);
    json.member("dual_residual", certificate.dual.absolute);
    json.member("duality_gap", certificate.gap.absolute);
    json.member("relative_primal_residual", certificate.primal.relative);
    json.member("relative_dual_residual", certificate.dual.relative);
    json.member("relative_duality_gap", certificate.gap.relative);
    addProof(json, problem, proved, withSolution);
    if (withSolution) {
        addSolution(json, problem, proved.solution);
    }
    json.close('}');
    return std::move(json).line();
}

std::string jsonErrorText(const std::string& file, const std::string& message) {
    JsonWriter json;
    json.open('{');
    json.member("file", file);
    json.member("error", message);
    json.close('}');
    return std::move(json).line();
}

}  // namespace activeset::cli
