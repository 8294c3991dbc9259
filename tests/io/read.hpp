// Small files as text, for the tests of the reader.
#ifndef ACTIVESET_TESTS_IO_READ_HPP
#define ACTIVESET_TESTS_IO_READ_HPP

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "io/reader.hpp"

namespace activeset::io::tests {

using Numbers = std::vector<double>;

inline constexpr double Inf = std::numeric_limits<double>::infinity();

inline Model read(std::string_view text, const ReadLimits& limits = {}) {
    return readModelText(text, "t.qps", Format::Mps, limits);
}

/// what() of the error that `action` raises; "no error" if it raises none.
template <class Action>
std::string errorFrom(Action action) {
    try {
        static_cast<void>(action());
    } catch (const ReadError& error) {
        return error.what();
    }
    return "no error";
}

inline std::string errorOf(std::string_view text, const ReadLimits& limits = {}) {
    return errorFrom([&] { return read(text, limits); });
}

/// A file in free format: one objective row o, one row r of type L, the columns x and y, and
/// whatever sections come after line 7.
inline std::string smallFile(std::string_view sections) {
    return "NAME small FREE\nROWS\n N o\n L r\nCOLUMNS\n x o 1 r 1\n y o 1 r 1\n" +
           std::string(sections) + "ENDATA\n";
}

}  // namespace activeset::io::tests

#endif
