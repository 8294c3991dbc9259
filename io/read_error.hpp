// The error that the reader raises.
#ifndef ACTIVESET_IO_READ_ERROR_HPP
#define ACTIVESET_IO_READ_ERROR_HPP

#include <cstddef>
#include <stdexcept>
#include <string>

namespace activeset::io {

/// A problem file that is missing, unreadable, malformed or beyond what the reader accepts.
///
/// what() is "FILE:LINE: message", "FILE:LINE:COLUMN: message" where the column is known, or
/// "FILE: message" for a fault of the file as a whole.
class ReadError : public std::runtime_error {
public:
    /// @param file     the path as the caller gave it
    /// @param line     1-based line of the text (of the decompressed text for .gz), 0 for the file
    /// as a whole
    /// @param message  one line, no full stop
    /// @param column   1-based, in bytes; 0 where it is not known
    ReadError(const std::string& file,
              std::size_t line,
              const std::string& message,
              std::size_t column = 0)
        : std::runtime_error(file + (line == 0 ? "" : ":" + std::to_string(line)) +
                             (column == 0 ? "" : ":" + std::to_string(column)) + ": " + message),
          file_(file),
          line_(line),
          message_(message) {}

    [[nodiscard]] const std::string& file() const noexcept { return file_; }
    [[nodiscard]] std::size_t line() const noexcept { return line_; }
    [[nodiscard]] const std::string& message() const noexcept { return message_; }

private:
    std::string file_;
    std::size_t line_;
    std::string message_;
};

}  // namespace activeset::io

#endif
