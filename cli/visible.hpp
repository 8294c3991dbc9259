// Text from files and arguments, as it may be shown on a terminal.
#ifndef ACTIVESET_CLI_VISIBLE_HPP
#define ACTIVESET_CLI_VISIBLE_HPP

#include <string>
#include <string_view>

namespace activeset::cli {

/// The text, in which what commands a terminal or changes the direction of writing is escaped:
/// control characters (\x1b, \x7f, \u009b) but for line ends, bidirectional controls (\u202e),
/// bytes that are not UTF-8 (\xff).
[[nodiscard]] std::string visible(std::string_view text);

/// The same for what has to stay one line.
[[nodiscard]] std::string visibleLine(std::string_view text);

}  // namespace activeset::cli

#endif
