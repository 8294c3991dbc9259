// activeset compare: whether two files with results say the same.
#include <fmt/format.h>

#include <cmath>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>

#include "cli/console.hpp"
#include "cli/exit_status.hpp"
#include "cli/file_run.hpp"
#include "cli/numbers.hpp"
#include "cli/result_file.hpp"
#include "cli/verbs.hpp"
#include "cli/visible.hpp"

namespace activeset::cli {

namespace {

using nlohmann::json;

struct CompareOptions {
    std::string first;
    std::string second;
    double tolerance = 1e-6;
};

/// Results by the name of their file without folders.
std::map<std::string, json> byName(const std::string& path) {
    std::map<std::string, json> results;
    for (json& result : readResults(path)) {
        const std::string file = result.value("file", "");
        results.emplace(std::filesystem::path(file).filename().string(), std::move(result));
    }
    return results;
}

std::string outcomeOf(const json& result) {
    return result.contains("error") ? "error" : result.value("outcome", "error");
}

double numberOf(const json& result, const char* key) {
    const auto found = result.find(key);
    return found != result.end() && found->is_number() ? found->get<double>() : std::nan("");
}

/// The difference in words; empty if both results agree.
std::string difference(const json& first, const json& second, double tolerance) {
    if (outcomeOf(first) != outcomeOf(second)) {
        return fmt::format("outcome {} and {}", outcomeOf(first), outcomeOf(second));
    }
    const double p = numberOf(first, "objective");
    const double q = numberOf(second, "objective");
    const bool isOptimal = outcomeOf(first) == "optimal";
    if (isOptimal && !(std::abs(p - q) <= tolerance * std::max({1.0, std::abs(p), std::abs(q)}))) {
        return fmt::format("objective {} and {}", shownNumber(p), shownNumber(q));
    }
    return {};
}

int compare(const CompareOptions& options) {
    const auto first = byName(options.first);
    const auto second = byName(options.second);
    std::size_t same = 0;
    std::size_t others = 0;
    double logOfRatios = 0.0;
    std::string text;
    for (const auto& [name, result] : first) {
        const auto found = second.find(name);
        const std::string what = found == second.end()
                                     ? "only in the first file"
                                     : difference(result, found->second, options.tolerance);
        if (!what.empty()) {
            text += fmt::format("{}: {}\n", shownFile(name), what);
            ++others;
            continue;
        }
        ++same;
        constexpr double Clock = 1e-6;  // shorter times are noise
        logOfRatios += std::log(std::max(Clock, numberOf(found->second, "seconds")) /
                                std::max(Clock, numberOf(result, "seconds")));
    }
    for (const auto& [name, result] : second) {
        if (!first.contains(name)) {
            text += fmt::format("{}: only in the second file\n", shownFile(name));
            ++others;
        }
    }
    text += fmt::format("{} the same, {} different", same, others);
    if (same > 0) {
        text += fmt::format("; the second takes {:.2f} times as long (geometric mean)",
                            std::exp(logOfRatios / static_cast<double>(same)));
    }
    std::cout << visible(text + "\n");
    return others == 0 ? Solved : Differs;
}

}  // namespace

void addCompare(CLI::App& app, Action& chosen) {
    CLI::App& command =
        *app.add_subcommand("compare", "Compare two files with results, as solve -o writes them");
    const auto options = std::make_shared<CompareOptions>();
    command.add_option("FIRST.json", options->first, "Results")->required()->group("Problem");
    command.add_option("SECOND.json", options->second, "Results for the same problems")
        ->required()
        ->group("Problem");
    command.add_option("--tolerance", options->tolerance, "Relative, of objectives")
        ->option_text("NUMBER [1e-6]")
        ->group("Method");
    command.callback([&chosen, options] {
        chosen = [options] {
            int status = Solved;
            const FileError error = attempt(options->first, [&] { status = compare(*options); });
            if (error.status != Solved) {
                printError(error.text);
                return error.status;
            }
            return written(status);
        };
    });
}

}  // namespace activeset::cli
