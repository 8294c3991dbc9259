// activeset relax: the nearest feasible point, and what gives way for it.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <map>
#include <memory>

#include "cli/console.hpp"
#include "cli/exit_status.hpp"
#include "cli/file_run.hpp"
#include "cli/interrupt.hpp"
#include "cli/json_writer.hpp"
#include "cli/numbers.hpp"
#include "cli/relax_words.hpp"
#include "cli/solve_model.hpp"
#include "cli/solve_options.hpp"
#include "cli/summary.hpp"
#include "cli/verbs.hpp"
#include "cli/visible.hpp"
#include "cli/words.hpp"

namespace activeset::cli {

namespace {

const std::map<std::string, Norm> Norms{{"l1", Norm::L1}, {"l2", Norm::L2}, {"inf", Norm::LInf}};

struct RelaxOptions {
    SolveOptions files;  ///< and their format
    std::string norm = "l1";
    std::vector<std::string> hard;
    bool bounds = false;
    bool json = false;
};

/// Weights of 1, but infinite ones for the rows that stay.
std::vector<double> weightsOf(const io::Model& model,
                              const std::vector<std::string>& hard,
                              const std::string& file) {
    std::vector<double> weights(model.m(), 1.0);
    for (const std::string& name : hard) {
        const auto found = std::find(model.rows.begin(), model.rows.end(), name);
        if (found == model.rows.end()) {
            throw io::ReadError(file, 0, fmt::format("has no row {} to keep hard", name));
        }
        weights[static_cast<std::size_t>(found - model.rows.begin())] = Infinity;
    }
    return weights;
}

std::string jsonOf(const io::Model& model, const std::string& file, const Relaxation& relaxation) {
    JsonWriter json;
    const auto add = [&](const char* key, const auto& values) {
        json.key(key);
        json.open('[');
        for (const auto& value : values) {
            json.value(value);
        }
        json.close(']');
    };
    json.open('{');
    json.member("schema", "activeset-relaxation/1");
    json.member("file", file);
    json.member("outcome", textOf(relaxation.status));
    json.member("distance", relaxation.distance);
    add("names", model.variables);
    add("row_names", model.rows);
    add("x", relaxation.x);
    add("row_violation", relaxation.rowViolation);
    add("bound_violation", relaxation.boundViolation);
    json.close('}');
    return std::move(json).text() + "\n";
}

int relaxFile(const std::string& file, const RelaxOptions& options) {
    const io::Model model = readFile(file, options.files.fileFormat());
    for (const std::string& note : notesOf(model, file)) {
        printError(note);
    }
    const std::vector<double> weights = weightsOf(model, options.hard, file);
    const std::vector<double> boundWeights(options.bounds ? model.n() : 0, 1.0);
    const Relaxation relaxation = relax(viewsOf(model), {.norm = Norms.at(options.norm),
                                                         .rowWeights = weights,
                                                         .boundWeights = boundWeights,
                                                         .solve = options.files.settings()});
    if (options.json) {
        std::cout << jsonOf(model, file, relaxation);
    } else {
        std::cout << visible(headingText(model, shownFile(file)) +
                             relaxationText(model, relaxation));
    }
    return exitStatusOf(relaxation.status);
}

int run(const RelaxOptions& options) {
    const InterruptHandler interrupts;
    int worst = Solved;
    for (const std::string& file : options.files.files) {
        int status = Solved;
        const FileError error = attempt(file, [&] { status = relaxFile(file, options); });
        if (error.status != Solved) {
            printError(error.text);
            status = error.status;
        }
        worst = std::max(worst, status);
    }
    return std::max(worst, written(worst));
}

}  // namespace

std::string relaxationText(const io::Model& model, const Relaxation& relaxation) {
    if (!relaxation) {
        return relaxation.status == Status::Infeasible
                   ? "nearest point     none: what is to stay contradicts itself\n"
                   : fmt::format("nearest point     none: {}\n", textOf(relaxation.status));
    }
    std::vector<std::string> names;
    std::vector<double> amounts;
    const auto add = [&](const std::vector<double>& violations, auto words) {
        for (std::size_t k = 0; k < violations.size(); ++k) {
            if (violations[k] != 0.0) {
                names.push_back(words(model, k, violations[k] > 0.0 ? Side::Upper : Side::Lower));
                amounts.push_back(std::abs(violations[k]));
            }
        }
    };
    add(relaxation.rowViolation, rowWords);
    add(relaxation.boundViolation, boundWords);
    if (names.empty()) {
        return "nothing has to give way: there is a feasible point\n";
    }
    return fmt::format("nearest feasible point: {} has to give way, by\n",
                       names.size() == 1 ? "this" : fmt::format("each of these {}", names.size())) +
           valuesText(names, amounts) + "at\n" + valuesText(model.variables, relaxation.x);
}

void addRelax(CLI::App& app, Action& chosen) {
    CLI::App& command = *app.add_subcommand(
        "relax", "Find the point that violates the rows least, and by how much");
    const auto options = std::make_shared<RelaxOptions>();
    addProblemOptions(command, options->files);
    command
        .add_option("--norm", options->norm,
                    "What is made small: l1 (few rows give way), l2 or inf")
        ->option_text("WORD [l1]")
        ->check(CLI::IsMember(Norms))
        ->group("Method");
    command
        .add_option("--hard", options->hard,
                    "A row that does not give way; also NAME,NAME or --hard again")
        ->option_text("NAME")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->group("Method");
    command.add_flag("--bounds", options->bounds, "Let bounds give way as well")->group("Method");
    command.add_flag("--json", options->json, "Print one JSON object a file")->group("Output");
    command.callback([&chosen, options] { chosen = [options] { return run(*options); }; });
}

}  // namespace activeset::cli
