// The result of a solve, member by member.
#include "cli/json_result.hpp"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

#include "cli/json_writer.hpp"
#include "cli/soft_sides.hpp"
#include "cli/words.hpp"

namespace activeset::cli {

namespace {

/// The kinds of members of a working set.
constexpr std::array<std::pair<const char*, std::vector<std::size_t> WorkingSet::*>, 6> Kinds{
    {{"equalities", &WorkingSet::equalities},
     {"rows_at_lower", &WorkingSet::rowsAtLower},
     {"rows_at_upper", &WorkingSet::rowsAtUpper},
     {"at_lower", &WorkingSet::atLower},
     {"at_upper", &WorkingSet::atUpper},
     {"fixed", &WorkingSet::fixed}}};

template <class Values>
void addArray(JsonWriter& json, const char* key, const Values& values) {
    json.key(key);
    json.open('[');
    for (const auto& value : values) {
        json.value(value);
    }
    json.close(']');
}

void addHeading(JsonWriter& json, const io::Model& model, const std::string& file) {
    json.member("schema", ResultSchema);
    json.member("file", file);
    json.member("name", model.name);
    json.member("variables", model.n());
    json.member("rows", model.m());
    json.member("sense", model.maximise ? "max" : "min");
}

void addWork(JsonWriter& json, const Result& result) {
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
}

void addResiduals(JsonWriter& json, const Certificate& certificate) {
    json.member("primal_residual", certificate.primal.absolute);
    json.member("dual_residual", certificate.dual.absolute);
    json.member("duality_gap", certificate.gap.absolute);
    json.member("relative_primal_residual", certificate.primal.relative);
    json.member("relative_dual_residual", certificate.dual.relative);
    json.member("relative_duality_gap", certificate.gap.relative);
}

void addWorkingSet(JsonWriter& json, const WorkingSet& set) {
    json.key("working_set");
    json.open('{');
    for (const auto& [name, members] : Kinds) {
        addArray(json, name, set.*members);
    }
    json.close('}');
}

/// Soft sides beyond which the point lies, where there are any: positions by kind, and of each in
/// that order what it says, by how much it is missed and what that costs.
void addViolated(JsonWriter& json, const io::Model& model, const Result& result) {
    const ViolatedSides& sides = result.workingSet.softViolated;
    if (sides.size() == 0) {
        return;
    }
    const ViolatedWords violated = violatedWords(model, result);
    json.key("soft_violated");
    json.open('{');
    addArray(json, "rows_at_lower", sides.rowsAtLower);
    addArray(json, "rows_at_upper", sides.rowsAtUpper);
    addArray(json, "at_lower", sides.atLower);
    addArray(json, "at_upper", sides.atUpper);
    addArray(json, "words", violated.words);
    addArray(json, "violation", violated.violations);
    addArray(json, "cost", violated.costs);
    json.close('}');
}

void addConflict(JsonWriter& json, const io::Model& model, const Conflict& conflict) {
    json.key("conflict");
    json.open('{');
    json.member("found", conflict.isFound);
    json.member("minimal", conflict.isMinimal);
    addArray(json, "rows_at_lower", conflict.rowsAtLower);
    addArray(json, "rows_at_upper", conflict.rowsAtUpper);
    addArray(json, "at_lower", conflict.atLower);
    addArray(json, "at_upper", conflict.atUpper);
    addArray(json, "words", conflictWords(model, conflict));
    json.close('}');
}

/// The proof that there is no optimum.
void addProof(JsonWriter& json, const io::Model& model, const Solution& solution) {
    const Result& result = solution.result;
    if (result.status == Status::Infeasible) {
        addConflict(json, model, solution.conflict);
    }
    if (!solution.isProved() || result.status == Status::Optimal) {
        return;
    }
    json.key(result.farkas ? "farkas" : "direction");
    json.open('{');
    if (result.farkas) {
        json.member("value", result.farkas->value);
        json.member("residual", result.farkas->residual.absolute);
        json.member("relative_residual", result.farkas->residual.relative);
        json.member("radius", result.farkas->radius);
        addArray(json, "y", result.farkas->y);
        addArray(json, "z", result.farkas->z);
    } else {
        if (result.status == Status::NotConvex) {
            json.member("curvature", result.directionResidual.absolute);
        } else {
            json.member("residual", result.directionResidual.absolute);
            json.member("relative_residual", result.directionResidual.relative);
        }
        addArray(json, "entries", result.direction);
    }
    json.close('}');
}

/// The members that `set` has and `other` has not, by kind.
void addDifference(JsonWriter& json,
                   const char* key,
                   const WorkingSet& set,
                   const WorkingSet& other) {
    json.key(key);
    json.open('{');
    for (const auto& [name, members] : Kinds) {
        std::vector<std::size_t> own;
        std::set_difference((set.*members).begin(), (set.*members).end(), (other.*members).begin(),
                            (other.*members).end(), std::back_inserter(own));
        if (!own.empty()) {
            addArray(json, name, own);
        }
    }
    json.close('}');
}

void addPasses(JsonWriter& json, const io::Model& model, const std::vector<Progress>& passes) {
    const double sign = model.maximise ? -1.0 : 1.0;
    WorkingSet before;
    json.key("passes");
    json.open('[');
    for (const Progress& pass : passes) {
        json.open('{');
        json.member("pass", pass.iteration);
        json.member("phase_one", pass.phaseOne);
        json.member("objective", sign * pass.objective + 0.0);
        json.member("violation", pass.violation);
        json.member("active", pass.active);
        addDifference(json, "entering", pass.workingSet, before);
        addDifference(json, "leaving", before, pass.workingSet);
        before = pass.workingSet;
        json.close('}');
    }
    json.close(']');
}

}  // namespace

std::string jsonText(const io::Model& model, const std::string& file, const Solution& solution) {
    const Result& result = solution.result;
    JsonWriter json;
    json.open('{');
    addHeading(json, model, file);
    json.member("outcome", textOf(result.status));
    json.member("proved", solution.isProved());
    if (!result.message.empty()) {
        json.member("message", result.message);
    }
    json.member("hessian_shift", result.hessianShift);
    addWork(json, result);
    addArray(json, "names", model.variables);
    addArray(json, "row_names", model.rows);
    if (solution.hasPoint()) {
        json.member("objective", solution.objective);
        addResiduals(json, result.certificate);
        addArray(json, "x", result.x);
        addArray(json, "y", result.y);
        addArray(json, "z", result.z);
        addWorkingSet(json, result.workingSet);
        addViolated(json, model, result);
    }
    addProof(json, model, solution);
    if (!solution.passes.empty()) {
        addPasses(json, model, solution.passes);
    }
    json.close('}');
    return std::move(json).text();
}

std::string jsonErrorText(const std::string& file, const std::string& message) {
    JsonWriter json;
    json.open('{');
    json.member("schema", ResultSchema);
    json.member("file", file);
    json.member("error", message);
    json.close('}');
    return std::move(json).text();
}

}  // namespace activeset::cli
