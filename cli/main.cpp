// The command line: activeset solve [options] FILE...
#include <fmt/core.h>
#include <sys/resource.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <limits>
#include <map>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "activeset/driver.hpp"
#include "activeset/host.hpp"
#include "activeset/kernels.hpp"
#include "cli/crash_message.hpp"
#include "cli/interrupt.hpp"
#include "cli/prove_problem.hpp"
#include "cli/report.hpp"
#include "cli/solve_problem.hpp"
#include "cli/verdict.hpp"
#include "cli/visible.hpp"
#include "io/qps_reader.hpp"

namespace activeset::cli {

namespace {

// Exit status. The worst that happened to any file counts.
constexpr int AllOptimal = 0;
constexpr int OtherOutcome = 1;
constexpr int UnreadableOrUsage = 2;

const char* const Footer =
    "Exit status: 0 when every file was solved to optimality, 1 when some file ended in\n"
    "another outcome or its residuals do not support an optimum, 2 when some file could\n"
    "not be read or the command line was wrong.\n"
    "Ctrl-C stops at the point reached and reports it; a second Ctrl-C ends the process.";

const std::map<std::string, Start> Starts{
    {"automatic", Start::Automatic}, {"cold", Start::Cold}, {"predict", Start::Predict}};

struct SolveCommand {
    SolverSettings settings;  ///< of the entry function
    double tolerance = Settings().tolerance;
    double convexityTolerance = Settings().convexityTolerance;
    std::string start = "automatic";
    std::optional<double> timeLimit;  ///< seconds
    bool strict = false;              ///< the entry function alone
    std::vector<std::string> files;
    bool solution = false;
    bool json = false;
};

void printError(const std::string& line) {
    std::cout.flush();
    std::cerr << line << std::endl;
}

bool isStandardInput(const std::string& file) {
    return file == "-";
}

/// The file as people read it; programs that read JSON get it as they gave it.
std::string shown(const std::string& file) {
    return isStandardInput(file) ? "standard input" : visibleLine(file);
}

void printNotes(const io::Problem& problem, const std::string& file) {
    for (const io::Note& note : problem.notes) {
        printError(fmt::format("{}:{}: note: {}", shown(file), note.line, visibleLine(note.text)));
    }
}

/// Whether the entry function, left to itself, ends with an optimum that the residuals support.
bool solveStrictly(io::Problem& problem, const std::string& file, const SolveCommand& command) {
    const SolveResult result = solveProblem(problem, command.settings);
    const Verdict verdict = judge(problem, result, command.settings);
    if (command.json) {
        std::cout << jsonText(problem, file, result, verdict, command.solution);
    } else {
        std::cout << visible(summaryText(problem, result, verdict));
        if (command.solution) {
            std::cout << visible(solutionText(problem, result));
        }
    }
    return result.code == 1 && verdict.supports();
}

bool prove(const io::Problem& problem, const std::string& file, const SolveCommand& command) {
    Settings settings;
    settings.tolerance = command.tolerance;
    settings.convexityTolerance = command.convexityTolerance;
    settings.startMode = Starts.at(command.start);
    settings.maxIterations = static_cast<std::size_t>(command.settings.maxIter.value_or(0));
    if (command.timeLimit) {
        settings.timeLimit = std::chrono::duration<double>(*command.timeLimit);
    }
    const ProvedResult proved = proveProblem(problem, settings);
    if (command.json) {
        std::cout << jsonText(problem, file, proved, command.solution);
    } else {
        std::cout << visible(summaryText(problem, proved));
        if (command.solution) {
            std::cout << visible(solutionText(problem, proved));
        }
    }
    return proved.result.status == Status::Optimal;
}

void solveReadable(io::Problem& problem,
                   const std::string& file,
                   const SolveCommand& command,
                   int& status) {
    if (!command.json) {
        std::cout << visible(headingText(problem, shown(file)));
    }
    const bool optimal =
        command.strict ? solveStrictly(problem, file, command) : prove(problem, file, command);
    status = std::max(status, optimal ? AllOptimal : OtherOutcome);
}

io::Problem read(const std::string& file) {
    const CrashMessage guard;
    return isStandardInput(file) ? io::readStandardInput() : io::readProblem(file);
}

/// What has come of the files so far.
struct Progress {
    int status = AllOptimal;
    bool hasMemoryEnded = false;
};

/// Solves one file; what goes wrong with it is one line on standard error and a status.
void solveFile(const std::string& file, const SolveCommand& command, Progress& progress) {
    std::string error;
    int status = OtherOutcome;
    try {
        io::Problem problem = read(file);
        printNotes(problem, file);
        solveReadable(problem, file, command, progress.status);
        return;
    } catch (const io::ReadError& readError) {
        error = readError.what();
        status = UnreadableOrUsage;
        progress.hasMemoryEnded |= readError.message() == "out of memory";
    } catch (const HostError& hostError) {
        error = fmt::format("{}: {}: {}", shown(file), hostError.identifier(), hostError.what());
        progress.hasMemoryEnded |=
            std::string_view(hostError.identifier()) == OutOfMemoryIdentifier;
    } catch (const std::bad_alloc&) {
        progress.hasMemoryEnded = true;
        error = fmt::format("{}: out of memory", shown(file));
    }
    progress.status = std::max(progress.status, status);
    if (command.json) {
        std::cout << jsonErrorText(file, error);
    }
    printError(visibleLine(error));
}

/// The status, or that of output that could not be written.
int written(int status) {
    std::cout.flush();
    if (std::cout) {
        return status;
    }
    printError("standard output could not be written");
    return UnreadableOrUsage;
}

int solveFiles(const SolveCommand& command) {
    const InterruptHandler interrupts;
    Progress progress;
    for (std::size_t i = 0; i < command.files.size(); ++i) {
        if (InterruptHandler::isPending()) {
            printError(fmt::format("interrupted: {} not solved",
                                   command.files.size() - i == 1
                                       ? "1 file"
                                       : fmt::format("{} files", command.files.size() - i)));
            progress.status = std::max(progress.status, OtherOutcome);
            break;
        }
        solveFile(command.files[i], command, progress);
    }
    const int status = written(progress.status);
    if (progress.hasMemoryEnded) {
        std::_Exit(status);
    }
    return status;
}

/// At their end other libraries may wait for ever for memory that does not come: a process whose
/// address space is limited does not ask them to clean up.
int left(int status) {
    rlimit limit{};
    if (getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY) {
        std::cout.flush();
        std::_Exit(status);
    }
    return status;
}

std::string checkTolerance(const std::string& text) {
    double value = 0.0;
    const bool good = CLI::detail::lexical_cast(text, value) && value > 0.0 && value <= 1.0;
    return good ? "" : fmt::format("{} is not a number above 0 and at most 1", text);
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

void describe(CLI::App& app, SolveCommand& command) {
    app.set_version_flag("--version",
                         fmt::format("activeset {} ({})\nkernels: {}, BLAS: {}", activeset_version,
                                     activeset_build_date, kernelInstructionSet(), blasKernel()));
    app.require_subcommand(1);
    app.footer(Footer);

    CLI::App& solve = *app.add_subcommand(
        "solve", "Solve convex quadratic programs from MPS/QPS files, plain or gzip");
    solve.footer(Footer);
    SolverSettings& settings = command.settings;
    const auto add = [&](const char* name, auto& target, const char* values, const char* text) {
        return solve.add_option(name, target, text)->option_text(values);
    };
    add("--tolerance", command.tolerance, "NUMBER [1e-9]",
        "Relative size of residuals that proves an optimum")
        ->check(checkTolerance);
    add("--convexity-tolerance", command.convexityTolerance, "NUMBER [1e-6]",
        "How far the objective may be from convex, relative; 0 takes it as it is")
        ->check(CLI::Range(0.0, 1.0));
    add("--start", command.start, "WORD [automatic]",
        "Where a solve begins: automatic, predict or cold")
        ->check(CLI::IsMember(Starts));
    add("--time-limit", command.timeLimit, "SECONDS", "Longest time for a file")
        ->check(checkNumber<double>);
    add("--max-iter", settings.maxIter, "COUNT",
        "Most passes; 0 or none: more than sound problems need. With --strict of each phase, "
        "default 10 * (variables + rows), at least 200")
        ->check(checkNumber<int>);
    CLI::Option* const strict = solve.add_flag("--strict", command.strict,
                                               "Call the bare entry function and report its code");
    add("--tol-con", settings.tolCon, "NUMBER [1e-6]", "Feasibility tolerance, absolute")
        ->check(checkNumber<double>)
        ->needs(strict);
    add("--tol-fun", settings.tolFun, "NUMBER [1e-6]", "Stored; no test uses it")
        ->check(checkNumber<double>)
        ->needs(strict);
    add("--tol-x", settings.tolX, "NUMBER [1e-6]", "Norm below which a direction counts as zero")
        ->check(checkNumber<double>)
        ->needs(strict);
    CLI::Option* const display = add("--display", settings.display, "WORD [iter]",
                                     "Iteration table: off, final, iter or testing")
                                     ->check(CLI::IsMember({"off", "final", "iter", "testing"}))
                                     ->needs(strict);
    solve.add_flag("--solution", command.solution, "Print the point and the multipliers by name");
    solve.add_flag("--json", command.json, "Print one JSON object a file instead of text");
    add("FILE", command.files, "...", "Files to solve; - is standard input")->required();
    solve.callback([&command, display] {
        if (command.json && display->count() > 0 && command.settings.display != "off") {
            throw CLI::ValidationError("--json leaves no room for a table; use --display off");
        }
    });
}

/// What the parser reports is the answer to --help or --version, or one line on standard error.
int reportUsage(const CLI::App& app, const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {
        return written(app.exit(error));
    }
    const std::vector<std::string> rest = app.remaining();
    std::string line = error.what();
    if (app.get_subcommands().empty()) {
        line = rest.empty() ? "no command; try activeset solve FILE"
                            : fmt::format("unknown command {}", rest.front());
    }
    std::replace(line.begin(), line.end(), '\n', ' ');
    printError(visibleLine(fmt::format("activeset: {} (see activeset --help)", line)));
    return UnreadableOrUsage;
}

int run(int argc, char** argv) {
    SolveCommand command;
    CLI::App app("Dense convex quadratic programming by a primal active-set method", "activeset");
    describe(app, command);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return reportUsage(app, error);
    }
    if (command.json) {
        command.settings.display = "off";
    }
    return solveFiles(command);
}

}  // namespace

}  // namespace activeset::cli

int main(int argc, char** argv) {
    try {
        return activeset::cli::left(activeset::cli::run(argc, argv));
    } catch (const std::bad_alloc&) {
        std::cout.flush();
        std::cerr << "activeset: out of memory" << std::endl;
        std::_Exit(activeset::cli::OtherOutcome);
    } catch (const std::exception& error) {
        std::cerr << "activeset: " << error.what() << std::endl;
        return 2;
    }
}
