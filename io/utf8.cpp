// Decoding and encoding, one character at a time.
#include "io/utf8.hpp"

namespace activeset::io {

Character firstCharacter(std::string_view text) {
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
    return isLong || !isCharacter(code) ? Character{} : Character{code, bytes};
}

void appendUtf8(std::string& text, std::uint32_t code) {
    const auto byte = [&](unsigned value) { text += static_cast<char>(value); };
    if (code < 0x80) {
        byte(code);
    } else if (code < 0x800) {
        byte(0xC0 | code >> 6U);
        byte(0x80 | (code & 0x3FU));
    } else {
        if (code < 0x10000) {
            byte(0xE0 | code >> 12U);
        } else {
            byte(0xF0 | code >> 18U);
            byte(0x80 | (code >> 12U & 0x3FU));
        }
        byte(0x80 | (code >> 6U & 0x3FU));
        byte(0x80 | (code & 0x3FU));
    }
}

}  // namespace activeset::io
