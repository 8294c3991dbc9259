// The result of a solve as a JSON object; docs/cli.md describes it.
#ifndef ACTIVESET_CLI_JSON_RESULT_HPP
#define ACTIVESET_CLI_JSON_RESULT_HPP

#include <string>

#include "cli/solve_model.hpp"
#include "io/model.hpp"

namespace activeset::cli {

/// The value of the field "schema". It changes when a field changes its meaning.
inline constexpr const char* ResultSchema = "activeset-result/1";

/// One line, without line end. Signs of x, y and z as in activeset::Result.
[[nodiscard]] std::string jsonText(const io::Model& model,
                                   const std::string& file,
                                   const Solution& solution);

/// The same for a file without a result.
[[nodiscard]] std::string jsonErrorText(const std::string& file, const std::string& message);

}  // namespace activeset::cli

#endif
