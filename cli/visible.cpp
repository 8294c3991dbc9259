// Decodes UTF-8 and escapes character by character.
#include "cli/visible.hpp"

#include <fmt/format.h>

#include <cstdint>
#include <iterator>

#include "io/utf8.hpp"

namespace activeset::cli {

namespace {

bool isControl(std::uint32_t code) {
    const bool turnsRound = code == 0x061C || code == 0x200E || code == 0x200F ||
                            (code >= 0x202A && code <= 0x202E) ||
                            (code >= 0x2066 && code <= 0x2069);
    return code < 0x20 || (code >= 0x7F && code <= 0x9F) || turnsRound;
}

std::string escaped(std::string_view text, bool keepsLineEnds) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const io::Character next = io::firstCharacter(text);
        const std::size_t bytes = next.bytes == 0 ? 1 : next.bytes;
        if (next.bytes == 0) {
            fmt::format_to(std::back_inserter(result), "\\x{:02x}",
                           static_cast<unsigned char>(text.front()));
        } else if (!isControl(next.code) || (keepsLineEnds && next.code == '\n')) {
            result += text.substr(0, bytes);
        } else if (next.code < 0x80) {
            fmt::format_to(std::back_inserter(result), "\\x{:02x}", next.code);
        } else {
            fmt::format_to(std::back_inserter(result), "\\u{:04x}", next.code);
        }
        text.remove_prefix(bytes);
    }
    return result;
}

}  // namespace

std::string visible(std::string_view text) {
    return escaped(text, true);
}

std::string visibleLine(std::string_view text) {
    return escaped(text, false);
}

}  // namespace activeset::cli
