// The text of a file, decompressed if need be.
#ifndef ACTIVESET_IO_FILE_TEXT_HPP
#define ACTIVESET_IO_FILE_TEXT_HPP

#include <cstddef>
#include <string>

namespace activeset::io {

/// The whole text of the file at `path`; a file that begins like gzip is decompressed.
/// @raises ReadError (line 0) if the file cannot be read, its compressed data are damaged or the
///         text is longer than `limit` bytes
[[nodiscard]] std::string readFileText(const std::string& path, std::size_t limit);

/// The name of standard input in errors.
inline constexpr const char* StandardInput = "standard input";

/// The same of standard input, to its end.
[[nodiscard]] std::string readStandardInputText(std::size_t limit);

}  // namespace activeset::io

#endif
