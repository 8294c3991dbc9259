// Reads results that the tool has written: for warm starts, comparisons and reports.
#ifndef ACTIVESET_CLI_RESULT_FILE_HPP
#define ACTIVESET_CLI_RESULT_FILE_HPP

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "activeset/qp.hpp"
#include "io/model.hpp"

namespace activeset::cli {

/// All objects of a JSON file with results. The file holds one object, an array, or one object a
/// line.
/// @raises io::ReadError
[[nodiscard]] std::vector<nlohmann::json> readResults(const std::string& path);

/// The point of a result, and its working set if it has one, for a model with the same names.
/// Names that the model does not have are left out. Variables without a value start at 0.
/// @raises io::ReadError
[[nodiscard]] WarmStart readWarmStart(const std::string& path, const io::Model& model);

/// The point as lines with name and value.
[[nodiscard]] std::string solText(const io::Model& model,
                                  const std::vector<double>& x,
                                  double objective);

}  // namespace activeset::cli

#endif
