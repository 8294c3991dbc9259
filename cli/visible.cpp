// One character after the other, decoded from UTF-8.
#include "cli/visible.hpp"

#include <fmt/format.h>

#include <cstdint>
#include <iterator>

namespace activeset::cli {

namespace {

struct Character {
    std::uint32_t code = 0;
    std::size_t bytes = 0;  ///< 0 where the text is not UTF-8
};

// Shortest forms only, no surrogates.
Character decoded(std::string_view text) {
    const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(text[k]); };
    const unsigned first = byte(0);
    if (first < 0x80) {
        return {first, 1};
    }
    const std::size_t bytes = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < bytes) {
        return {};
    }
    std::uint32_t code = first & (0xFFU >> (bytes + 1));
    for (std::size_t k = 1; k < bytes; ++k) {
        if ((byte(k) & 0xC0U) != 0x80) {
            return {};
        }
        code = code << 6U | (byte(k) & 0x3FU);
    }
    const bool isLong = (bytes == 3 && code < 0x800) || (bytes == 4 && code < 0x10000);
    const bool isNone = code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF);
    return isLong || isNone ? Character{} : Character{code, bytes};
}

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
        const Character next = decoded(text);
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
