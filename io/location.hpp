// The place in a file that a message is about.
#ifndef ACTIVESET_IO_LOCATION_HPP
#define ACTIVESET_IO_LOCATION_HPP

#include <algorithm>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

#include "io/read_error.hpp"

namespace activeset::io {

/// One line of one file. Errors name the column, where the text of the line is known.
struct Location {
    const std::string& file;
    std::size_t line = 0;
    std::string_view text{};  ///< of the line

    /// About the line as a whole: the column is that of the first word.
    [[noreturn]] void fail(const std::string& message) const {
        const std::size_t first = text.find_first_not_of(" \t");
        throw ReadError(file, line, message, first == std::string_view::npos ? 0 : first + 1);
    }
    /// About a word of the line, a view into its text or a copy; an empty one is missing, behind
    /// all others.
    [[noreturn]] void failAt(std::string_view word, const std::string& message) const {
        throw ReadError(file, line, message, columnOf(word));
    }

private:
    /// 1-based; 0 where the word is not found.
    [[nodiscard]] std::size_t columnOf(std::string_view word) const {
        if (text.empty()) {
            return 0;
        }
        if (word.empty()) {
            return text.find_last_not_of(" \t\r") + 2;
        }
        const std::less_equal<> isNotBehind{};
        if (isNotBehind(text.data(), word.data()) &&
            isNotBehind(word.data() + word.size(), text.data() + text.size())) {
            return static_cast<std::size_t>(word.data() - text.data()) + 1;
        }
        const auto isBlank = [&](std::size_t at) {
            return at >= text.size() || text[at] == ' ' || text[at] == '\t' || text[at] == '\r';
        };
        for (std::size_t at = text.find(word); at != std::string_view::npos;
             at = text.find(word, at + 1)) {
            if ((at == 0 || isBlank(at - 1)) && isBlank(at + word.size())) {
                return at + 1;
            }
        }
        return 0;
    }
};

/// Line `line` of `whole`, 1-based.
inline Location lineOf(std::string_view whole, const std::string& file, std::size_t line) {
    std::string_view rest = whole;
    for (std::size_t k = 1; k < line && !rest.empty(); ++k) {
        rest.remove_prefix(std::min(rest.find('\n'), rest.size() - 1) + 1);
    }
    return {file, line, rest.substr(0, rest.find('\n'))};
}

/// Text of a file as a message shows it: in quotes, cut if it is long, control characters as \x00.
inline std::string quoted(std::string_view text) {
    constexpr std::size_t Shown = 32;
    constexpr std::string_view Digits = "0123456789abcdef";
    std::string result = "'";
    for (const char character : text.substr(0, Shown)) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte >= 0x20 && byte != 0x7F) {
            result += character;
        } else {
            result += {'\\', 'x', Digits[byte / 16U], Digits[byte % 16U]};
        }
    }
    result += text.size() > Shown ? "...'" : "'";
    return result;
}

}  // namespace activeset::io

#endif
