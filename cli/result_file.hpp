// Results as they were written before: for warm starts, comparisons and reports.
#ifndef ACTIVESET_CLI_RESULT_FILE_HPP
#define ACTIVESET_CLI_RESULT_FILE_HPP

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "activeset/qp.hpp"
#include "io/model.hpp"

namespace activeset::cli {

/// All objects of a JSON file with results: one, an array, or one a line.
/// @raises io::ReadError
[[nodiscard]] std::vector<nlohmann::json> readResults(const std::string& path);

/// The point of a result, and its working set if it has one, for a model with the same names.
/// What the model has no name for is left out, what the result has no value for starts at 0.
/// @raises io::ReadError
[[nodiscard]] WarmStart readWarmStart(const std::string& path, const io::Model& model);

/// The point as lines of name and value.
[[nodiscard]] std::string solText(const io::Model& model,
                                  const std::vector<double>& x,
                                  double objective);

}  // namespace activeset::cli

#endif
