// One reader per format of problem files.
#ifndef ACTIVESET_IO_FORMAT_READERS_HPP
#define ACTIVESET_IO_FORMAT_READERS_HPP

#include <string>
#include <string_view>

#include "io/model.hpp"
#include "io/reader.hpp"

namespace activeset::io {

// Each raises ReadError; `file` is used in messages.
[[nodiscard]] Model readMps(std::string_view text,
                            const std::string& file,
                            const ReadLimits& limits);
[[nodiscard]] Model readLp(std::string_view text,
                           const std::string& file,
                           const ReadLimits& limits);
[[nodiscard]] Model readJson(std::string_view text,
                             const std::string& file,
                             const ReadLimits& limits);
[[nodiscard]] Model readNpz(std::string_view text,
                            const std::string& file,
                            const ReadLimits& limits);

}  // namespace activeset::io

#endif
