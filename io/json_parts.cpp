// The values that a problem in JSON is made of.
#include "io/json_parts.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <unordered_set>

#include "io/coin_deck.hpp"
#include "io/location.hpp"

namespace activeset::io {

namespace {

/// What violations cost: from 0 up.
std::vector<double> prices(JsonCursor& cursor, bool mayBeInfinite) {
    std::vector<double> result;
    cursor.open('[');
    bool isFirst = true;
    while (cursor.another(']', isFirst)) {
        const std::size_t offset = cursor.offset();
        result.push_back(cursor.number(mayBeInfinite));
        if (result.back() < 0.0) {
            cursor.failAt(offset, "expected a penalty from 0 up");
        }
    }
    return result;
}

}  // namespace

std::vector<std::string> readJsonNames(JsonCursor& cursor) {
    std::vector<std::string> names;
    std::unordered_set<std::string> known;
    cursor.open('[');
    bool isFirst = true;
    while (cursor.another(']', isFirst)) {
        const std::size_t offset = cursor.offset();
        names.push_back(cursor.string());
        if (names.back().empty() || !known.insert(names.back()).second) {
            cursor.failAt(offset, "expected a name that is new, found " + quoted(names.back()));
        }
    }
    return names;
}

JsonVector readJsonVector(JsonCursor& cursor, bool mayBeInfinite) {
    JsonVector result{cursor.offset(), {}};
    cursor.open('[');
    bool isFirst = true;
    while (cursor.another(']', isFirst)) {
        const double value = cursor.number(mayBeInfinite);
        result.values.push_back(
            std::abs(value) < InfiniteBound || !mayBeInfinite
                ? value
                : std::copysign(std::numeric_limits<double>::infinity(), value));
    }
    return result;
}

JsonRows readJsonRows(JsonCursor& cursor) {
    JsonRows result;
    result.offset = cursor.offset();
    cursor.open('[');
    bool isFirst = true;
    while (cursor.another(']', isFirst)) {
        const JsonVector row = readJsonVector(cursor, false);
        result.columns = result.rows == 0 ? row.values.size() : result.columns;
        if (row.values.size() != result.columns) {
            cursor.failAt(row.offset, "expected " + std::to_string(result.columns) +
                                          " entries, found " + std::to_string(row.values.size()));
        }
        ++result.rows;
        result.values.insert(result.values.end(), row.values.begin(), row.values.end());
    }
    return result;
}

JsonPenalty readJsonPenalty(JsonCursor& cursor) {
    JsonPenalty result{.offset = cursor.offset()};
    cursor.open('{');
    bool isFirst = true;
    while (cursor.another('}', isFirst)) {
        const std::size_t at = cursor.offset();
        const std::string key = cursor.key();
        const auto* const part =
            std::find_if(PenaltyParts.begin(), PenaltyParts.end(),
                         [&](const PenaltyPart& one) { return key == one.name; });
        if (part == PenaltyParts.end()) {
            cursor.failAt(at, "expected a part that docs/files.md lists, found " + quoted(key));
        }
        bool& isGiven = result.isGiven.at(static_cast<std::size_t>(part - PenaltyParts.begin()));
        if (isGiven) {
            cursor.failAt(at, "a second part " + quoted(key));
        }
        isGiven = true;
        result.parts.*(part->values) = prices(cursor, part->mayBeInfinite);
    }
    return result;
}

}  // namespace activeset::io
