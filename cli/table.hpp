// A table with a line for each problem: the end of a batch, and files that other programs read.
#ifndef ACTIVESET_CLI_TABLE_HPP
#define ACTIVESET_CLI_TABLE_HPP

#include <optional>
#include <string>
#include <vector>

#include "cli/solve_model.hpp"

namespace activeset::cli {

struct TableRow {
    std::string file;
    std::string outcome;  ///< "error" without a result
    int status = 0;       ///< the exit status that it would have alone
    std::size_t variables = 0;
    std::size_t rows = 0;
    std::optional<double> objective;
    std::size_t steps = 0;  ///< rounds, steps and passes of all kinds
    double seconds = 0.0;
    std::optional<double> residual;  ///< the largest of the relative ones
    std::string error;
};

[[nodiscard]] TableRow rowOf(const io::Model& model,
                             const std::string& file,
                             const Solution& solution);

/// The table with aligned columns, and a last line that counts the outcomes.
[[nodiscard]] std::string tableText(const std::vector<TableRow>& rows);

[[nodiscard]] std::string csvHeading();
/// Line end included.
[[nodiscard]] std::string csvLine(const TableRow& row);

}  // namespace activeset::cli

#endif
