// activeset explain: why a problem has no solution, in the words of the model.
#include <fmt/format.h>

#include <algorithm>
#include <iostream>
#include <memory>

#include "cli/console.hpp"
#include "cli/exit_status.hpp"
#include "cli/file_run.hpp"
#include "cli/interrupt.hpp"
#include "cli/json_result.hpp"
#include "cli/numbers.hpp"
#include "cli/relax_words.hpp"
#include "cli/solve_options.hpp"
#include "cli/summary.hpp"
#include "cli/verbs.hpp"
#include "cli/visible.hpp"

namespace activeset::cli {

namespace {

std::string whyInfeasible(const io::Model& model, Solution& solution, const Settings& settings) {
    findConflict(model, settings, solution);
    const Relaxation rows = relax(viewsOf(model), {.solve = settings});
    return conflictText(model, solution.conflict) + relaxationText(model, rows);
}

std::string explanation(const io::Model& model, Solution& solution, const Settings& settings) {
    std::string summary = summaryText(model, solution);
    switch (solution.result.status) {
        case Status::Infeasible:
            return summary + whyInfeasible(model, solution, settings);
        case Status::Unbounded:
        case Status::NotConvex:
            return summary + directionText(model, solution);
        case Status::Optimal:
            return summary + "There is nothing to explain: the problem has a solution.\n";
        default:
            return summary;
    }
}

int explainFile(const std::string& file, const SolveOptions& options) {
    const io::Model model = readFile(file, options.fileFormat());
    for (const std::string& note : notesOf(model, file)) {
        printError(note);
    }
    const Settings settings = options.settings();
    Solution solution = solveModel(model, settings, nullptr);
    if (options.json) {
        if (solution.result.status == Status::Infeasible) {
            findConflict(model, settings, solution);
        }
        std::cout << jsonText(model, file, solution) << "\n";
    } else {
        std::cout << visible(headingText(model, shownFile(file)) +
                             explanation(model, solution, settings))
                  << "\n";
    }
    // An explanation was asked for, so giving it is a success.
    const bool isExplained = solution.isProved() || solution.hasPoint();
    return isExplained ? Solved : exitStatusOf(solution.result.status);
}

int explainFiles(const SolveOptions& options) {
    const InterruptHandler interrupts;
    int worst = Solved;
    for (const std::string& file : options.files) {
        int status = Solved;
        const FileError error = attempt(file, [&] { status = explainFile(file, options); });
        if (error.status != Solved) {
            printError(error.text);
            status = error.status;
        }
        worst = std::max(worst, status);
    }
    return std::max(worst, written(worst));
}

}  // namespace

void addExplain(CLI::App& app, Action& chosen) {
    CLI::App& command = *app.add_subcommand(
        "explain", "Say why a problem has no solution, and which changes give it one");
    const auto options = std::make_shared<SolveOptions>();
    addProblemOptions(command, *options);
    addMethodOptions(command, *options);
    command.add_flag("--json", options->json, "Print one JSON object a file instead of text")
        ->group("Output");
    command.callback([&chosen, options] { chosen = [options] { return explainFiles(*options); }; });
}

}  // namespace activeset::cli
