// Names, numbers, rows and penalties in JSON, each with the place where it stands.
#ifndef ACTIVESET_IO_JSON_PARTS_HPP
#define ACTIVESET_IO_JSON_PARTS_HPP

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "io/json_cursor.hpp"
#include "io/penalties.hpp"

namespace activeset::io {

struct JsonVector {
    std::size_t offset = 0;
    std::vector<double> values{};
};

/// Rows of numbers as they stand in the file.
struct JsonRows {
    std::size_t offset = 0;
    std::size_t rows = 0;
    std::size_t columns = 0;
    std::vector<double> values{};  ///< row-major
};

struct JsonPenalty {
    std::size_t offset = 0;
    Penalties parts{};                                ///< of any sizes
    std::array<bool, PenaltyParts.size()> isGiven{};  ///< an empty part is one, too
};

// Each reads one value and raises ReadError where it is another one.

/// Names of which none is empty and none stands twice.
[[nodiscard]] std::vector<std::string> readJsonNames(JsonCursor& cursor);

/// Where entries may be infinite, those of magnitude InfiniteBound and more are.
[[nodiscard]] JsonVector readJsonVector(JsonCursor& cursor, bool mayBeInfinite);

/// Finite numbers, as many in each row.
[[nodiscard]] JsonRows readJsonRows(JsonCursor& cursor);

/// An object with some of PenaltyParts, numbers from 0 up.
[[nodiscard]] JsonPenalty readJsonPenalty(JsonCursor& cursor);

}  // namespace activeset::io

#endif
