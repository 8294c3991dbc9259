// Makes text from files and arguments safe to show on a terminal.
#ifndef ACTIVESET_CLI_VISIBLE_HPP
#define ACTIVESET_CLI_VISIBLE_HPP

#include <string>
#include <string_view>

namespace activeset::cli {

/// The text, with characters escaped that command a terminal or change the direction of writing:
/// control characters (\x1b, \x7f, \u009b) but for line ends, bidirectional controls (\u202e),
/// bytes that are not UTF-8 (\xff).
[[nodiscard]] std::string visible(std::string_view text);

/// The same for text that has to stay in one line: line ends are escaped, too.
[[nodiscard]] std::string visibleLine(std::string_view text);

}  // namespace activeset::cli

#endif
