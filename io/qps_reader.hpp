// Reads quadratic programs from MPS and QPS files; docs/files.md describes what is accepted.
#ifndef ACTIVESET_IO_QPS_READER_HPP
#define ACTIVESET_IO_QPS_READER_HPP

#include <cstddef>
#include <string>
#include <string_view>

#include "io/problem.hpp"
#include "io/read_error.hpp"

namespace activeset::io {

/// What the reader refuses before it asks for the memory.
struct ReadLimits {
    std::size_t textBytes = std::size_t{1} << 30U;   ///< of the decompressed text
    std::size_t denseBytes = std::size_t{1} << 31U;  ///< of H, A and Aeq together
};

/// The problem in the file at `path`, plain or compressed with gzip.
/// @raises ReadError
[[nodiscard]] Problem readProblem(const std::string& path, const ReadLimits& limits = {});

/// The problem that standard input holds, to its end, plain or compressed with gzip.
/// @raises ReadError, about the file "standard input"
[[nodiscard]] Problem readStandardInput(const ReadLimits& limits = {});

/// The problem in `text`; `file` is only used in messages.
/// @raises ReadError
[[nodiscard]] Problem readProblemText(std::string_view text,
                                      const std::string& file,
                                      const ReadLimits& limits = {});

}  // namespace activeset::io

#endif
