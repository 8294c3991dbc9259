// Reads quadratic programs from files of all formats; docs/files.md describes what is accepted.
#ifndef ACTIVESET_IO_QPS_READER_HPP
#define ACTIVESET_IO_QPS_READER_HPP

#include <cstddef>
#include <string>
#include <string_view>

#include "io/model.hpp"
#include "io/read_error.hpp"

namespace activeset::io {

/// Files beyond these limits are refused before memory is asked for.
struct ReadLimits {
    std::size_t textBytes = std::size_t{1} << 30U;   ///< of the decompressed text or members
    std::size_t denseBytes = std::size_t{1} << 31U;  ///< of H and of a row for each side
};

/// The format of a problem file.
enum class Format {
    Automatic,  ///< by the suffix: .lp, .json, .npz, else MPS; before .gz and .bz2
    Mps,        ///< MPS and QPS
    Lp,
    Json,
    Npz  ///< an archive of arrays
};

/// The format that the suffix of a file name stands for; Mps if it stands for none.
[[nodiscard]] Format formatOf(const std::string& path);

/// The problem in the file at `path`, or in standard input, which "-" stands for; plain or
/// compressed with gzip or bzip2. Standard input is MPS, unless `format` says otherwise.
/// @raises ReadError
[[nodiscard]] Model readModel(const std::string& path,
                              Format format = Format::Automatic,
                              const ReadLimits& limits = {});

/// The same for a text. `file` appears in messages; Automatic looks at its suffix.
/// @raises ReadError
[[nodiscard]] Model readModelText(std::string_view text,
                                  const std::string& file,
                                  Format format,
                                  const ReadLimits& limits = {});

}  // namespace activeset::io

#endif
