// One data line of an MPS file, split into its fields.
#ifndef ACTIVESET_IO_CARD_HPP
#define ACTIVESET_IO_CARD_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "io/location.hpp"

namespace activeset::io {

/// Fixed: fields stand in the columns 2-3, 5-12, 15-22, 25-36, 40-47 and 50-61, so that names may
/// contain blanks. Free: fields are separated by blanks.
enum class CardFormat { Fixed, Free };

enum class Section {
    Start,  ///< nothing read yet
    Name,
    ObjectiveSense,
    Rows,
    Columns,
    Rhs,
    Ranges,
    Bounds,
    Quadratic,
    End
};

/// Names of rows or columns with their positions. The views point into the text of the file.
using NameTable = std::unordered_map<std::string_view, std::uint32_t>;

/// A name with the number beside it; the number is empty where the line has none.
struct CardEntry {
    std::string_view name;
    std::string_view number;
};

/// Views into the text of the file.
struct Card {
    std::string_view type;   ///< ROWS and BOUNDS: the kind of row or bound; else empty
    std::string_view owner;  ///< column of the entries, or name of the vector; may be empty
    std::array<CardEntry, 2> entries{};
    std::size_t count = 0;  ///< entries in use
};

/// The pieces of `line` between blanks and tabs.
[[nodiscard]] std::vector<std::string_view> splitAtBlanks(std::string_view line);

/// `text` without blanks, tabs and carriage returns at its ends.
[[nodiscard]] std::string_view trimmed(std::string_view text);

/// Whether a bound of this kind stands without a number.
[[nodiscard]] bool isNumberlessBound(std::string_view type);

/// The card on `line` of `section`, which is Rows or a later section: earlier ones have no cards.
///
/// @param columns  tells which word of a free bound card is the column
/// @raises ReadError when the line does not have the form of a card of that section. The caller
///         checks that numbers are numbers and names are known
[[nodiscard]] Card splitCard(std::string_view line,
                             Section section,
                             CardFormat format,
                             const NameTable& columns,
                             const Location& location);

/// The number that `text` stands for, correctly rounded; infinities are allowed, NaN is not.
/// @raises ReadError unless all of `text` is a number that a double can hold
[[nodiscard]] double parseNumber(std::string_view text, const Location& location);

}  // namespace activeset::io

#endif
