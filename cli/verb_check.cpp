// activeset check: reports unusual data of a problem, without solving it.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <memory>

#include "activeset/diagnose.hpp"
#include "cli/console.hpp"
#include "cli/exit_status.hpp"
#include "cli/file_run.hpp"
#include "cli/numbers.hpp"
#include "cli/solve_model.hpp"
#include "cli/solve_options.hpp"
#include "cli/summary.hpp"
#include "cli/verbs.hpp"
#include "cli/visible.hpp"

namespace activeset::cli {

namespace {

/// The first few members by name.
std::string membersText(const io::Model& model, const Finding& finding) {
    constexpr std::size_t Most = 5;
    const bool areRows = finding.name.find("variable") == std::string::npos &&
                         finding.name.find("bounds") == std::string::npos &&
                         finding.name.find("curvature") == std::string::npos;
    const std::vector<std::string>& names = areRows ? model.rows : model.variables;
    std::string text;
    for (std::size_t k = 0; k < std::min(Most, finding.members.size()); ++k) {
        text += (k == 0 ? " " : ", ") + names[finding.members[k]];
    }
    return finding.members.size() > Most
               ? text + fmt::format(" and {} more", finding.members.size() - Most)
               : text;
}

/// Says that H has an eigenvalue below what the front end takes for the rounding of a convex H; or
/// nothing. The limit there is in proportion to ‖H‖_F, which is at most √n times the largest
/// magnitude of an eigenvalue.
std::string convexityText(const Diagnosis& diagnosis, std::size_t n) {
    const double atMost = diagnosis.smallestEigenvalue[1];
    const double magnitude =
        std::max(-diagnosis.smallestEigenvalue[0], diagnosis.largestEigenvalue[1]);
    const double rounding =
        Settings().convexityTolerance * std::sqrt(static_cast<double>(n)) * magnitude;
    return atMost < -rounding
               ? fmt::format(
                     "not convex:\n  an eigenvalue of the objective that is minimised is at "
                     "most {:.4g}; only convex problems are solved\n",
                     atMost)
               : "";
}

std::string checkText(const io::Model& model, const Diagnosis& diagnosis) {
    std::string text;
    const auto add = [&](const char* label, const std::string& value) {
        text += fmt::format("{:<16} {}\n", label, value);
    };
    add("variables", fmt::format("{}, of which {} free and {} fixed", model.n(),
                                 diagnosis.freeVariables, diagnosis.fixedVariables));
    add("rows", fmt::format("{}, of which {} of rank {}", model.m(),
                            counted(diagnosis.equalities, "equality", "equalities"),
                            diagnosis.equalityRank));
    const auto& low = diagnosis.smallestEigenvalue;
    const auto& high = diagnosis.largestEigenvalue;
    add("curvature",
        fmt::format("smallest eigenvalue from {:.4g} to {:.4g}, largest from {:.4g} to {:.4g}",
                    low[0] + 0.0, low[1] + 0.0, high[0] + 0.0, high[1] + 0.0));
    add("coefficients", fmt::format("from {:.1e} to {:.1e} in magnitude",
                                    diagnosis.smallestCoefficient, diagnosis.largestCoefficient));
    for (const Finding& finding : diagnosis.findings) {
        text +=
            fmt::format("{}:{}\n  {}\n", finding.name, membersText(model, finding), finding.text);
    }
    for (const Fault& fault : diagnosis.faults) {
        text += fault.text + "\n";
    }
    const std::string convexity = convexityText(diagnosis, model.n());
    text += convexity;
    return text + (diagnosis.findings.empty() && diagnosis.faults.empty() && convexity.empty()
                       ? "nothing that a solve would stumble over\n\n"
                       : "\n");
}

int checkFiles(const SolveOptions& options) {
    int worst = Solved;
    for (const std::string& file : options.files) {
        int status = Solved;
        const FileError error = attempt(file, [&] {
            const io::Model model = readFile(file, options.fileFormat());
            for (const std::string& note : notesOf(model, file)) {
                printError(note);
            }
            const Diagnosis diagnosis = diagnose(viewsOf(model));
            std::cout << visible(headingText(model, shownFile(file)) + checkText(model, diagnosis));
            status = diagnosis.faults.empty() ? Solved : BadData;
        });
        if (error.status != Solved) {
            printError(error.text);
            status = error.status;
        }
        worst = std::max(worst, status);
    }
    return std::max(worst, written(worst));
}

}  // namespace

void addCheck(CLI::App& app, Action& chosen) {
    CLI::App& command =
        *app.add_subcommand("check", "Read problems and report unusual data, without solving");
    const auto options = std::make_shared<SolveOptions>();
    addProblemOptions(command, *options);
    command.callback([&chosen, options] { chosen = [options] { return checkFiles(*options); }; });
}

}  // namespace activeset::cli
