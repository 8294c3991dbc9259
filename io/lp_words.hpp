// The words that an LP file may use, in any case.
#ifndef ACTIVESET_IO_LP_WORDS_HPP
#define ACTIVESET_IO_LP_WORDS_HPP

#include <algorithm>
#include <array>
#include <cctype>
#include <string>
#include <string_view>

namespace activeset::io::lp {

inline std::string lowered(std::string_view text) {
    std::string result(text);
    for (char& character : result) {
        character = static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
    }
    return result;
}

inline constexpr std::size_t MaxNameLength = 255;

inline bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

/// Whether a name may begin with it; digits and points may follow.
inline bool beginsName(char character) {
    constexpr std::string_view Marks = "_!\"#$%&(),;?@'`{}~|";
    const bool isLetter =
        (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
    return isLetter || Marks.find(character) != std::string_view::npos ||
           static_cast<unsigned char>(character) >= 0x80;
}

inline bool continuesName(char character) {
    return beginsName(character) || isDigit(character) || character == '.';
}

template <std::size_t Count>
bool isOneOf(std::string_view word, const std::array<std::string_view, Count>& words) {
    return std::find(words.begin(), words.end(), lowered(word)) != words.end();
}

inline constexpr std::array<std::string_view, 3> Minimise{"min", "minimize", "minimise"};
inline constexpr std::array<std::string_view, 3> Maximise{"max", "maximize", "maximise"};
inline constexpr std::array<std::string_view, 3> RowWords{"st", "s.t.", "st."};
inline constexpr std::array<std::string_view, 2> BoundWords{"bounds", "bound"};
inline constexpr std::array<std::string_view, 10> IntegerWords{
    "general", "generals", "gen",      "integer", "integers",
    "int",     "binary",   "binaries", "bin",     "bins"};
inline constexpr std::array<std::string_view, 7> OtherWords{
    "semi", "semis", "semi-continuous", "sos", "sos1", "sos2", "ranges"};

inline constexpr std::array<std::string_view, 2> InfinityWords{"inf", "infinity"};

}  // namespace activeset::io::lp

#endif
