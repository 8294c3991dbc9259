// The place in a file that a message is about.
#ifndef ACTIVESET_IO_LOCATION_HPP
#define ACTIVESET_IO_LOCATION_HPP

#include <cstddef>
#include <string>
#include <string_view>

#include "io/read_error.hpp"

namespace activeset::io {

/// One line of one file.
struct Location {
    const std::string& file;
    std::size_t line = 0;

    [[noreturn]] void fail(const std::string& message) const {
        throw ReadError(file, line, message);
    }
};

/// Text of a file as a message shows it: in quotes, and cut if somebody wrote a novel.
inline std::string quoted(std::string_view text) {
    constexpr std::size_t Shown = 32;
    std::string result = "'";
    result += text.substr(0, Shown);
    result += text.size() > Shown ? "...'" : "'";
    return result;
}

}  // namespace activeset::io

#endif
