// The table of -o FILE.csv: it grows by a row as soon as a file is solved, and a later run may take
// it up again.
#ifndef ACTIVESET_CLI_TABLE_FILE_HPP
#define ACTIVESET_CLI_TABLE_FILE_HPP

#include <cstddef>
#include <fstream>
#include <string>
#include <vector>

#include "cli/table.hpp"

namespace activeset::cli {

/// What a run that is taken up again need not solve.
struct Skipped {
    std::size_t count = 0;
    int worst = 0;  ///< the largest exit status among them
};

class TableFile {
public:
    /// Begins a table without rows. A file that is there is overwritten.
    /// @raises io::ReadError
    void begin(const std::string& path);

    /// Takes up the table in `path`, or begins one. Erases from `files` those that have an answer
    /// there: an optimum, a proof or an inaccurate point. Rows of the others leave the table:
    /// errors, limits and interruptions are tried again. A last line that a killed run has cut
    /// short goes, too.
    /// @raises io::ReadError; a file that is no such table stays as it is
    [[nodiscard]] Skipped resume(const std::string& path, std::vector<std::string>& files);

    /// Appends a row, if there is a table.
    void add(const TableRow& row);

    /// @raises io::ReadError if a row could not be written
    void check() const;

private:
    void open(std::ios::openmode mode);

    std::string path_;
    std::ofstream stream_;
    int reason_ = 0;  ///< errno of the first row that could not be written
};

}  // namespace activeset::cli

#endif
