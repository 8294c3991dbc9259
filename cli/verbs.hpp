// The verbs of the tool. Each adds its command to the application, with the action that runs it.
#ifndef ACTIVESET_CLI_VERBS_HPP
#define ACTIVESET_CLI_VERBS_HPP

#include <CLI/CLI.hpp>
#include <functional>

namespace activeset::cli {

/// Runs a command after its options have been read. @return the exit status
using Action = std::function<int()>;

/// Adds a command. Parsing its name on the command line sets `chosen` to its action.
void addSolve(CLI::App& app, Action& chosen);
void addExplain(CLI::App& app, Action& chosen);
void addRelax(CLI::App& app, Action& chosen);
void addCheck(CLI::App& app, Action& chosen);
void addConvert(CLI::App& app, Action& chosen);
void addCompare(CLI::App& app, Action& chosen);
void addReport(CLI::App& app, Action& chosen);

}  // namespace activeset::cli

#endif
