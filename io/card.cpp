// Splitting data lines, by columns and by blanks, and reading numbers.
#include "io/card.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>
#include <system_error>

namespace activeset::io {

namespace {

constexpr std::string_view Blanks = " \t\r";
constexpr std::size_t MaxNameLength = 255;

/// Columns of the six fields, 0-based, end exclusive.
struct FieldColumns {
    std::size_t begin;
    std::size_t end;
};
constexpr std::array<FieldColumns, 6> Fields{
    {{1, 3}, {4, 12}, {14, 22}, {24, 36}, {39, 47}, {49, 61}}};

/// The six fields by columns. A line with text between two fields or behind the last one is not in
/// fixed format: that text would be cut off silently.
std::array<std::string_view, 6> fixedFields(std::string_view line, const Location& location) {
    std::array<std::string_view, 6> fields{};
    std::size_t gap = 0;
    for (std::size_t i = 0; i <= Fields.size(); ++i) {
        const std::size_t gapEnd = i < Fields.size() ? Fields.at(i).begin : line.size();
        const std::size_t stray = line.find_first_not_of(' ', std::min(gap, line.size()));
        if (stray != std::string_view::npos && stray < gapEnd) {
            location.failAt(line.substr(stray, 1), "text that belongs to no field");
        }
        if (i < Fields.size() && Fields.at(i).begin < line.size()) {
            gap = Fields.at(i).end;
            fields.at(i) = trimmed(line.substr(Fields.at(i).begin, gap - Fields.at(i).begin));
        }
    }
    return fields;
}

void addEntry(Card& card, std::string_view name, std::string_view number) {
    card.entries.at(card.count) = CardEntry{name, number};
    ++card.count;
}

Card fixedCard(std::string_view line, Section section, const Location& location) {
    if (const std::size_t tab = line.find('\t'); tab != std::string_view::npos) {
        location.failAt(line.substr(tab, 1), "a tab where fields stand in fixed columns");
    }
    const auto fields = fixedFields(line, location);
    Card card;
    card.type = fields[0];
    if (section == Section::Rows) {
        addEntry(card, fields[1], {});
        for (std::size_t k = 2; k < fields.size(); ++k) {
            if (!fields.at(k).empty()) {
                location.failAt(fields.at(k), "too many fields");
            }
        }
        return card;
    }
    card.owner = fields[1];
    addEntry(card, fields[2], fields[3]);
    const bool second = !(fields[4].empty() && fields[5].empty());
    if (second) {
        if (section == Section::Bounds) {
            location.failAt(fields[4].empty() ? fields[5] : fields[4], "too many fields");
        }
        addEntry(card, fields[4], fields[5]);
    }
    return card;
}

/// BOUNDS: type, name of the vector (may be missing), column, number (may be missing).
Card freeBound(const std::vector<std::string_view>& words,
               const NameTable& columns,
               const Location& location) {
    if (words.size() > 4) {
        location.failAt(words[4], "too many fields");
    }
    if (words.size() < 2) {
        location.failAt({}, "too few fields");
    }
    Card card;
    card.type = words[0];
    if (words.size() == 4) {
        card.owner = words[1];
        addEntry(card, words[2], words[3]);
    } else if (words.size() == 2) {
        addEntry(card, words[1], {});
    } else if (columns.contains(words[2]) &&
               (isNumberlessBound(card.type) || !columns.contains(words[1]))) {
        card.owner = words[1];
        addEntry(card, words[2], {});
    } else {
        addEntry(card, words[1], words[2]);
    }
    return card;
}

/// The other sections: an owner, then one or two pairs of name and number. The owner of RHS and
/// RANGES cards may be missing, which leaves an even number of words.
Card freeEntries(const std::vector<std::string_view>& words,
                 Section section,
                 const Location& location) {
    const bool ownerMayMiss = section == Section::Rhs || section == Section::Ranges;
    const std::size_t first = ownerMayMiss && words.size() % 2 == 0 ? 0 : 1;
    if (words.size() < first + 2) {
        location.failAt({}, "too few fields");
    }
    if (words.size() > first + 4) {
        location.failAt(words[first + 4], "too many fields");
    }
    Card card;
    if (first == 1) {
        card.owner = words[0];
    }
    for (std::size_t i = first; i < words.size(); i += 2) {
        addEntry(card, words[i], i + 1 < words.size() ? words[i + 1] : std::string_view{});
    }
    return card;
}

Card freeCard(std::string_view line,
              Section section,
              const NameTable& columns,
              const Location& location) {
    const std::vector<std::string_view> words = splitAtBlanks(line);
    if (section == Section::Bounds) {
        return freeBound(words, columns, location);
    }
    if (section != Section::Rows) {
        return freeEntries(words, section, location);
    }
    if (words.size() < 2) {
        location.failAt({}, "too few fields");
    }
    if (words.size() > 2) {
        location.failAt(words[2], "too many fields");
    }
    Card card;
    card.type = words[0];
    addEntry(card, words[1], {});
    return card;
}

void checkNames(const Card& card, Section section, const Location& location) {
    const bool typed = section == Section::Rows || section == Section::Bounds;
    if (!typed && !card.type.empty()) {
        location.failAt(card.type,
                        "unexpected " + quoted(card.type) + " in front of the first name");
    }
    if (card.owner.empty() && (section == Section::Columns || section == Section::Quadratic)) {
        location.fail("the name of the column is missing");
    }
    for (std::size_t i = 0; i < card.count; ++i) {
        if (card.entries.at(i).name.empty()) {
            location.fail("a name is missing");
        }
    }
    for (const std::string_view name : {card.owner, card.entries[0].name, card.entries[1].name}) {
        if (name.size() > MaxNameLength) {
            location.failAt(name,
                            "a name of more than " + std::to_string(MaxNameLength) + " characters");
        }
    }
}

}  // namespace

std::vector<std::string_view> splitAtBlanks(std::string_view line) {
    std::vector<std::string_view> words;
    std::size_t begin = line.find_first_not_of(Blanks);
    while (begin != std::string_view::npos) {
        const std::size_t end = std::min(line.find_first_of(Blanks, begin), line.size());
        words.push_back(line.substr(begin, end - begin));
        begin = line.find_first_not_of(Blanks, end);
    }
    return words;
}

std::string_view trimmed(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(Blanks);
    if (begin == std::string_view::npos) {
        return {};
    }
    return text.substr(begin, text.find_last_not_of(Blanks) + 1 - begin);
}

bool isNumberlessBound(std::string_view type) {
    return type == "FR" || type == "MI" || type == "PL" || type == "BV";
}

Card splitCard(std::string_view line,
               Section section,
               CardFormat format,
               const NameTable& columns,
               const Location& location) {
    const Card card = format == CardFormat::Fixed ? fixedCard(line, section, location)
                                                  : freeCard(line, section, columns, location);
    checkNames(card, section, location);
    return card;
}

double parseNumber(std::string_view text, const Location& location) {
    if (text.empty()) {
        location.failAt({}, "a number is missing");
    }
    std::string_view digits = text;
    if (digits.front() == '+' && digits.size() > 1 && digits[1] != '-') {
        digits.remove_prefix(1);
    }
    double value = 0.0;
    const char* const end = digits.data() + digits.size();
    const std::from_chars_result result = std::from_chars(digits.data(), end, value);
    if (result.ptr != end || result.ec == std::errc::invalid_argument || std::isnan(value)) {
        location.failAt(text, quoted(text) + " is not a number");
    }
    if (result.ec == std::errc::result_out_of_range) {
        location.failAt(text, quoted(text) + " is outside the range of a double");
    }
    return value;
}

}  // namespace activeset::io
