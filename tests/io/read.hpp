// Small files as text, for the tests of the readers.
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

/// A file in free format with the objective row o, the row r of type L and the columns x and y; the
/// given sections follow from line 8 on.
inline std::string smallFile(std::string_view sections) {
    return "NAME small FREE\nROWS\n N o\n L r\nCOLUMNS\n x o 1 r 1\n y o 1 r 1\n" +
           std::string(sections) + "ENDATA\n";
}

}  // namespace activeset::io::tests

#endif
