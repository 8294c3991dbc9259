// Characters and their bytes in UTF-8.
#ifndef ACTIVESET_IO_UTF8_HPP
#define ACTIVESET_IO_UTF8_HPP

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace activeset::io {

struct Character {
    std::uint32_t code = 0;
    std::size_t bytes = 0;  ///< 0 where the text is not UTF-8
};

/// Whether Unicode has such a character. Surrogates are no characters.
[[nodiscard]] constexpr bool isCharacter(std::uint32_t code) noexcept {
    return code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
}

/// The first character of `text`, which is not empty. Shortest forms only, no surrogates.
[[nodiscard]] Character firstCharacter(std::string_view text);

/// Appends a code point, one to four bytes.
void appendUtf8(std::string& text, std::uint32_t code);

}  // namespace activeset::io

#endif
