// Help, manual page and completion, made from the declarations of the commands.
#ifndef ACTIVESET_CLI_HELP_HPP
#define ACTIVESET_CLI_HELP_HPP

#include <CLI/CLI.hpp>
#include <string>

namespace activeset::cli {

/// The help text, at most 80 columns wide, with options in their groups.
[[nodiscard]] std::string helpText(const CLI::App& command);

/// The manual page of the whole tool, as man reads it.
[[nodiscard]] std::string manualText(const CLI::App& app);

/// A script that completes words for bash.
[[nodiscard]] std::string completionText(const CLI::App& app);

}  // namespace activeset::cli

#endif
