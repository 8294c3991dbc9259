// Solves many files, several at a time, and prints the results in order.
#ifndef ACTIVESET_CLI_BATCH_HPP
#define ACTIVESET_CLI_BATCH_HPP

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "cli/progress_line.hpp"
#include "cli/table.hpp"

namespace activeset::cli {

/// The result of one file.
struct FileOutcome {
    int status = 0;
    bool hasMemoryEnded = false;
    std::string text{};                 ///< for standard output
    std::vector<std::string> errors{};  ///< lines for standard error, before it
    std::string json{};
    TableRow row{};
};

/// Calls `solve` for 0 to count − 1, `jobs` at a time. Calls `emit` with each result as soon as the
/// results before it are out, from one thread at a time. No solve begins while an interrupt is
/// pending.
///
/// @return how many were begun
[[nodiscard]] std::size_t runBatch(std::size_t count,
                                   unsigned jobs,
                                   const std::function<FileOutcome(std::size_t)>& solve,
                                   const std::function<void(const FileOutcome&)>& emit);

}  // namespace activeset::cli

#endif
