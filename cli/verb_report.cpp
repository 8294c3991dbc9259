// activeset report: results as a page to look at.
#include <filesystem>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "cli/console.hpp"
#include "cli/exit_status.hpp"
#include "cli/file_run.hpp"
#include "cli/result_file.hpp"
#include "cli/verbs.hpp"
#include "cli/visible.hpp"
#include "report/page.hpp"

namespace activeset::cli {

namespace {

struct ReportOptions {
    std::string results;
    std::string output;
};

/// The file of --output, or, without one, a file beside the results.
std::string pageFile(const ReportOptions& options) {
    if (!options.output.empty()) {
        return options.output;
    }
    const std::string name = options.results == "-" ? "report" : options.results;
    return std::filesystem::path(name).replace_extension(".html").string();
}

/// Writes the page. Prints its name if the user has not chosen it.
void makePage(const ReportOptions& options) {
    const std::vector<nlohmann::json> results = readResults(options.results);
    const std::string page = pageFile(options);
    const std::string json =
        nlohmann::json(results).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    writeFile(page, report::pageOf(json));
    if (options.output.empty()) {
        std::cout << visibleLine(page) << "\n";
    }
}

}  // namespace

void addReport(CLI::App& app, Action& chosen) {
    CLI::App& command =
        *app.add_subcommand("report", "Make one HTML page of results, as solve -o writes them");
    const auto options = std::make_shared<ReportOptions>();
    command.add_option("RESULT.json", options->results, "Results; - is standard input")
        ->required()
        ->group("Problem");
    command
        .add_option("-o,--output", options->output,
                    "The page; default: the name of the results, as .html, which is printed")
        ->option_text("FILE")
        ->group("Output");
    command.callback([&chosen, options] {
        if (isInput(pageFile(*options), {options->results})) {
            throw CLI::ValidationError("the page would overwrite the results: " + options->results);
        }
        chosen = [options] {
            const FileError error = attempt(options->results, [&] { makePage(*options); });
            if (error.status != Solved) {
                printError(error.text);
            }
            return std::max(error.status, written(error.status));
        };
    });
}

}  // namespace activeset::cli
