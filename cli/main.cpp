// The command line: activeset COMMAND [options] FILE...
#include <fmt/core.h>
#include <sys/resource.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <new>
#include <string>
#include <system_error>
#include <vector>

#include "activeset/driver.hpp"
#include "activeset/kernels.hpp"
#include "cli/console.hpp"
#include "cli/exit_status.hpp"
#include "cli/help.hpp"
#include "cli/verbs.hpp"
#include "cli/visible.hpp"

namespace activeset::cli {

namespace {

void describe(CLI::App& app, Action& chosen) {
    app.set_version_flag("--version",
                         fmt::format("activeset {} ({})\nkernels: {}, BLAS: {}", activeset_version,
                                     activeset_build_date, kernelInstructionSet(), blasKernel()));
    app.formatter_fn([](const CLI::App* command, const std::string& /*name*/,
                        CLI::AppFormatMode /*mode*/) { return helpText(*command); });
    app.require_subcommand(1);
    for (const auto add :
         {addSolve, addExplain, addRelax, addCheck, addConvert, addCompare, addReport}) {
        add(app, chosen);
    }
    // The build installs a manual page and a completion that the tool itself makes.
    const auto addText = [&](const char* name, std::string (*text)(const CLI::App&)) {
        app.add_subcommand(name)->group("")->callback([&app, &chosen, text] {
            chosen = [&app, text] {
                std::cout << text(app);
                return written(Solved);
            };
        });
    };
    addText("print-manual", manualText);
    addText("print-completion", completionText);
}

/// Prints the answer to --help or --version, or one line on standard error for a mistake.
int reportUsage(const CLI::App& app, const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {
        return written(app.exit(error));
    }
    const std::vector<std::string> rest = app.remaining();
    std::error_code absent;
    std::string line = error.what();
    if (app.get_subcommands().empty()) {
        line = rest.empty() ? "no command; try activeset solve FILE"
               : std::filesystem::exists(rest.front(), absent)
                   ? fmt::format("unknown command {0}; try activeset solve {0}", rest.front())
                   : fmt::format("unknown command {}", rest.front());
    }
    std::replace(line.begin(), line.end(), '\n', ' ');
    const std::string command =
        app.get_subcommands().empty() ? "" : " " + app.get_subcommands().front()->get_name();
    printError(visibleLine(fmt::format("activeset: {} (see activeset{} --help)", line, command)));
    return BadUsage;
}

/// Some libraries wait for memory for ever while they are unloaded. So a process whose address
/// space is limited ends without unloading them.
int left(int status) {
    rlimit limit{};
    if (getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY) {
        std::cout.flush();
        std::_Exit(status);
    }
    return status;
}

int run(int argc, char** argv) {
    Action chosen;
    CLI::App app("convex quadratic and linear programs, solved with proofs", "activeset");
    describe(app, chosen);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return reportUsage(app, error);
    }
    return chosen();
}

}  // namespace

}  // namespace activeset::cli

int main(int argc, char** argv) {
    try {
        return activeset::cli::left(activeset::cli::run(argc, argv));
    } catch (const std::bad_alloc&) {
        std::cout.flush();
        std::cerr << "activeset: out of memory" << std::endl;
        std::_Exit(activeset::cli::HasFailed);
    } catch (const std::exception& error) {
        std::cerr << "activeset: " << error.what() << std::endl;
        return activeset::cli::HasFailed;
    }
}
