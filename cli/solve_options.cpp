// Names, checks and descriptions of the options of a solve.
#include "cli/solve_options.hpp"

#include <fmt/format.h>

#include <chrono>
#include <limits>
#include <map>
#include <type_traits>

namespace activeset::cli {

namespace {

const std::map<std::string, Start> Starts{
    {"automatic", Start::Automatic}, {"cold", Start::Cold}, {"predict", Start::Predict}};
const std::map<std::string, io::Format> Formats{{"auto", io::Format::Automatic},
                                                {"mps", io::Format::Mps},
                                                {"lp", io::Format::Lp},
                                                {"json", io::Format::Json},
                                                {"npz", io::Format::Npz}};

constexpr const char* ProblemGroup = "Problem";
constexpr const char* Method = "Method";
constexpr const char* Output = "Output";
constexpr const char* Strict = "Strict";

std::string checkTolerance(const std::string& text) {
    double value = 0.0;
    const bool good = CLI::detail::lexical_cast(text, value) && value > 0.0 && value <= 1.0;
    return good ? "" : fmt::format("{} is not a number above 0 and at most 1", text);
}

std::string checkWarm(const std::string& file) {
    const bool good =
        file == "-" || file.ends_with(".json") || file.ends_with(".npz") || file.ends_with(".sol");
    return good ? "" : fmt::format("{} does not end in .json, .npz or .sol", file);
}

/// Empty if `text` is a number from 0 up, else what is wrong with it.
template <class Number>
std::string checkNumber(const std::string& text) {
    Number value{};
    const bool good = CLI::detail::lexical_cast(text, value) && value >= Number{} &&
                      value <= std::numeric_limits<Number>::max();
    const char* const kind = std::is_integral_v<Number> ? "whole number" : "number";
    return good ? "" : fmt::format("{} is not a {} from 0 up", text, kind);
}

template <class Target>
CLI::Option* add(CLI::App& command,
                 const char* group,
                 const char* name,
                 Target& target,
                 const char* values,
                 const char* text) {
    return command.add_option(name, target, text)->option_text(values)->group(group);
}

}  // namespace

io::Format formatNamed(const std::string& word) {
    return Formats.at(word);
}

std::vector<std::string> formatWords() {
    std::vector<std::string> words;
    words.reserve(Formats.size());
    for (const auto& [word, format] : Formats) {
        words.push_back(word);
    }
    return words;
}

io::Format SolveOptions::fileFormat() const {
    return formatNamed(format);
}

Settings SolveOptions::settings() const {
    Settings settings;
    settings.tolerance = tolerance;
    settings.convexityTolerance = convexityTolerance;
    settings.startMode = Starts.at(start);
    settings.maxIterations = static_cast<std::size_t>(strictSettings.maxIter.value_or(0));
    if (timeLimit) {
        settings.timeLimit = std::chrono::duration<double>(*timeLimit);
    }
    return settings;
}

void addProblemOptions(CLI::App& command, SolveOptions& options) {
    add(command, ProblemGroup, "FILE", options.files, "...",
        "Files and folders; - is standard input")
        ->required();
    add(command, ProblemGroup, "--format", options.format, "WORD [auto]",
        "Format of the files: mps, lp, json, npz, or auto, by their suffix")
        ->check(CLI::IsMember(formatWords()));
}

void addMethodOptions(CLI::App& command, SolveOptions& options) {
    add(command, Method, "--tolerance", options.tolerance, "NUMBER [1e-9]",
        "Relative size of residuals that proves an optimum")
        ->check(checkTolerance);
    add(command, Method, "--convexity-tolerance", options.convexityTolerance, "NUMBER [1e-6]",
        "How far the objective may be from convex, relative; 0 takes it as it is")
        ->check(CLI::Range(0.0, 1.0));
    add(command, Method, "--start", options.start, "WORD [automatic]",
        "Where a solve begins: automatic, predict or cold")
        ->check(CLI::IsMember(Starts));
    add(command, Method, "--time-limit", options.timeLimit, "SECONDS", "Longest time for a file")
        ->check(checkNumber<double>);
    add(command, Method, "--max-iter", options.strictSettings.maxIter, "COUNT",
        "Most passes; 0 or none: more than sound problems need. With --strict of each phase, "
        "default 10 * (variables + rows), at least 200")
        ->check(checkNumber<int>);
}

void addOutputOptions(CLI::App& command, SolveOptions& options) {
    add(command, Output, "--warm", options.warm, "FILE",
        "Start from a result: .json, .npz or .sol, by names")
        ->check(checkWarm)
        ->group(Method);
    add(command, Output, "--jobs", options.jobs, "COUNT [1]", "Files that are solved at a time")
        ->check(CLI::Range(1, 1024))
        ->group(Method);
    add(command, Output, "-o,--output", options.output, "FILE",
        "Write the results to FILE: .json, .csv (a table), .sol or .npz (one result)");
    command.add_flag("--solution", options.solution, "Print the point and the multipliers by name")
        ->group(Output);
    command.add_flag("--json", options.json, "Print one JSON object a file instead of text")
        ->group(Output);
    command.add_flag("--csv", options.csv, "Print a table with commas instead of text")
        ->group(Output);
    command
        .add_flag("--resume", options.resume,
                  "Leave out the files that have an answer in the table of -o FILE.csv")
        ->group(Output);
    command
        .add_flag("--trace", options.trace,
                  "Record every pass for JSON and reports; solves start cold")
        ->group(Output);
    add(command, Output, "--color", options.colour, "WORD [auto]",
        "Colours: auto (on a terminal), always or never")
        ->check(CLI::IsMember({"auto", "always", "never"}));
}

void addStrictOptions(CLI::App& command, SolveOptions& options) {
    SolverSettings& settings = options.strictSettings;
    CLI::Option* const strict = command
                                    .add_flag("--strict", options.strict,
                                              "Call the bare entry function and report its code")
                                    ->group(Strict);
    add(command, Strict, "--tol-con", settings.tolCon, "NUMBER [1e-6]",
        "Feasibility tolerance, absolute")
        ->check(checkNumber<double>)
        ->needs(strict);
    add(command, Strict, "--tol-fun", settings.tolFun, "NUMBER [1e-6]", "Stored; no test uses it")
        ->check(checkNumber<double>)
        ->needs(strict);
    add(command, Strict, "--tol-x", settings.tolX, "NUMBER [1e-6]",
        "Norm below which a direction counts as zero")
        ->check(checkNumber<double>)
        ->needs(strict);
    add(command, Strict, "--display", settings.display, "WORD [iter]",
        "Iteration table: off, final, iter or testing")
        ->check(CLI::IsMember({"off", "final", "iter", "testing"}))
        ->needs(strict);
}

}  // namespace activeset::cli
