// The check of a whole file, line by line, before CoinUtils reads it.
#ifndef ACTIVESET_IO_SECTION_SCAN_HPP
#define ACTIVESET_IO_SECTION_SCAN_HPP

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "io/card.hpp"
#include "io/coin_deck.hpp"
#include "io/model.hpp"

namespace activeset::io {

/// The content of a file. Rows and columns are known by their position.
struct ScannedFile {
    std::string name;
    bool maximise = false;
    std::vector<std::string> rowNames;  ///< without the N rows
    std::vector<std::string> columnNames;
    CoinDeck deck;
    std::vector<MatrixEntry> hessian;  ///< both triangles, no entry twice; row and column of H
    std::vector<Note> notes;
};

/// Reads `text`, every line of it.
///
/// A file whose NAME line ends in the word FREE is in free format. Any other is taken to be in
/// fixed format, and if it does not fit that, in free format; if it fits neither, the error is
/// that of the reading which got further.
///
/// @param file  for messages
/// @raises ReadError
[[nodiscard]] ScannedFile scanFile(std::string_view text, const std::string& file);

}  // namespace activeset::io

#endif
