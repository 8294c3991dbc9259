// One solve of a model by the front end.
#ifndef ACTIVESET_CLI_SOLVE_MODEL_HPP
#define ACTIVESET_CLI_SOLVE_MODEL_HPP

#include <vector>

#include "activeset/qp.hpp"
#include "io/model.hpp"

namespace activeset::cli {

/// The result of a model.
struct Solution {
    Result result{};
    double objective = 0.0;          ///< with the sign of the file
    Conflict conflict{};             ///< of an infeasible model, if it was asked for
    std::vector<Progress> passes{};  ///< if they were asked for
    std::string warmStart{};         ///< what became of one, in words; empty without

    /// Whether there is a point that is worth showing.
    [[nodiscard]] bool hasPoint() const;
    /// Whether the vectors of the result prove its status.
    [[nodiscard]] bool isProved() const;
};

/// @param warm  may be null
/// @raises HostError
[[nodiscard]] Solution solveModel(const io::Model& model,
                                  const Settings& settings,
                                  const WarmStart* warm);

/// Looks for a minimal conflict, for half a minute at most, or for the time limit if it is less.
/// @raises HostError
void findConflict(const io::Model& model, Settings settings, Solution& solution);

}  // namespace activeset::cli

#endif
