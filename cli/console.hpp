// The two output streams of the process: messages, colours, file names.
#ifndef ACTIVESET_CLI_CONSOLE_HPP
#define ACTIVESET_CLI_CONSOLE_HPP

#include <string>

#include "activeset/qp.hpp"

namespace activeset::cli {

/// Writes one line to standard error, after everything that has gone to standard output.
void printError(const std::string& line);

/// `status`, or NoFile if standard output could not be written.
[[nodiscard]] int written(int status);

[[nodiscard]] bool isTerminal(int descriptor);

/// The name of a file in messages.
[[nodiscard]] std::string shownFile(const std::string& file);

/// Whether the word of --color asks for colours on standard output.
[[nodiscard]] bool wantsColours(const std::string& word);

/// The text with its outcome in the colour that the status has.
[[nodiscard]] std::string coloured(std::string text, Status status);

}  // namespace activeset::cli

#endif
