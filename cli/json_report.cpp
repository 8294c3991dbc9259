// The result of a solve as a JSON object.
#include <nlohmann/json.hpp>

#include "cli/named_sides.hpp"
#include "cli/report.hpp"

namespace activeset::cli {

namespace {

using Json = nlohmann::ordered_json;

/// Names in a file need not be UTF-8; what is not becomes the replacement character.
std::string lineOf(const Json& object) {
    return object.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

Json byVariable(const io::Problem& problem, const std::vector<double>& values) {
    Json list = Json::array();
    for (std::size_t j = 0; j < values.size(); ++j) {
        list.push_back({{"variable", problem.variableNames[j]}, {"value", values[j]}});
    }
    return list;
}

Json bySide(const io::Problem& problem, const std::vector<double>& multipliers) {
    Json list = Json::array();
    visitMultipliers(problem, multipliers,
                     [&](const char* kind, const std::string& name, double multiplier) {
                         list.push_back({{"kind", kind}, {"name", name}, {"value", multiplier}});
                     });
    return list;
}

void addSolution(Json& object, const io::Problem& problem, const SolveResult& result) {
    object["x"] = byVariable(problem, result.x);
    object["multipliers"] = bySide(problem, result.lambda);
}

/// What shows that there is no optimum.
void addProof(Json& object,
              const io::Problem& problem,
              const ProvedResult& proved,
              bool withSolution) {
    const Result& result = proved.result;
    if (!proved.isProved() || result.status == Status::Optimal) {
        return;
    }
    if (result.farkas) {
        Json& farkas = object["farkas"];
        farkas = {{"value", result.farkas->value},
                  {"residual", result.farkas->residual.absolute},
                  {"relative_residual", result.farkas->residual.relative}};
        if (withSolution) {
            farkas["multipliers"] = bySide(problem, proved.farkas);
        }
        return;
    }
    Json& direction = object["direction"];
    if (result.status == Status::NotConvex) {
        direction = {{"curvature", result.directionResidual.absolute}};
    } else {
        direction = {{"residual", result.directionResidual.absolute},
                     {"relative_residual", result.directionResidual.relative}};
    }
    if (withSolution) {
        direction["entries"] = byVariable(problem, result.direction);
    }
}

const char* senseOf(const io::Problem& problem) {
    return problem.maximise ? "max" : "min";
}

/// Null where the core did not run.
Json exitCodeOf(const Result& result) {
    return result.exitCode == Result().exitCode ? Json() : Json(result.exitCode);
}

Json activeOf(const SolveResult& result) {
    return {{"equalities", result.activeEqualities},
            {"inequalities", result.activeInequalities},
            {"lower_bounds", result.activeLower},
            {"upper_bounds", result.activeUpper}};
}

}  // namespace

std::string jsonText(const io::Problem& problem,
                     const std::string& file,
                     const SolveResult& result,
                     const Verdict& verdict,
                     bool withSolution) {
    Json object{{"file", file},
                {"name", problem.name},
                {"variables", problem.n},
                {"inequalities", problem.mIneq},
                {"equalities", problem.mEq},
                {"sense", senseOf(problem)},
                {"core_exit_code", result.code},
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
    Json object{{"file", file},
                {"name", problem.name},
                {"variables", problem.n},
                {"inequalities", problem.mIneq},
                {"equalities", problem.mEq},
                {"sense", senseOf(problem)},
                {"outcome", textOf(result.status)},
                {"proved", proved.isProved()},
                {"objective", proved.objective},
                {"core_exit_code", exitCodeOf(result)},
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
    addProof(object, problem, proved, withSolution);
    if (withSolution) {
        addSolution(object, problem, proved.solution);
    }
    return lineOf(object);
}

std::string jsonErrorText(const std::string& file, const std::string& message) {
    return lineOf({{"file", file}, {"error", message}});
}

}  // namespace activeset::cli
