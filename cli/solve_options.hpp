// The options of a solve.
#ifndef ACTIVESET_CLI_SOLVE_OPTIONS_HPP
#define ACTIVESET_CLI_SOLVE_OPTIONS_HPP

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

#include "activeset/qp.hpp"
#include "cli/solve_problem.hpp"
#include "io/reader.hpp"

namespace activeset::cli {

struct SolveOptions {
    std::vector<std::string> files;
    std::string format = "auto";

    // Method.
    double tolerance = Settings().tolerance;
    double convexityTolerance = Settings().convexityTolerance;
    std::string start = "automatic";
    std::optional<double> timeLimit;  ///< seconds
    std::string warm;                 ///< file with a result
    unsigned jobs = 1;

    // Output.
    std::string output;
    bool solution = false;
    bool json = false;
    bool csv = false;
    bool resume = false;
    bool trace = false;
    std::string colour = "auto";

    bool strict = false;
    SolverSettings strictSettings;  ///< maxIter of both

    [[nodiscard]] io::Format fileFormat() const;
    [[nodiscard]] Settings settings() const;
};

/// Gives the command the options, in their groups.
void addProblemOptions(CLI::App& command, SolveOptions& options);
void addMethodOptions(CLI::App& command, SolveOptions& options);
void addOutputOptions(CLI::App& command, SolveOptions& options);
void addStrictOptions(CLI::App& command, SolveOptions& options);

/// The words for formats and the formats that they stand for.
[[nodiscard]] io::Format formatNamed(const std::string& word);
[[nodiscard]] std::vector<std::string> formatWords();

}  // namespace activeset::cli

#endif
