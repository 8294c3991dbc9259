// A result as an archive of arrays, for NumPy.
#ifndef ACTIVESET_CLI_NPZ_RESULT_HPP
#define ACTIVESET_CLI_NPZ_RESULT_HPP

#include <string>
#include <string_view>

#include "cli/solve_model.hpp"
#include "cli/warm_start.hpp"
#include "io/model.hpp"

namespace activeset::cli {

/// The archive holds outcome and names. If there is a point, it holds objective, x, y and z, too,
/// and the working set as a side for each row and variable; otherwise the arrays of the proof.
[[nodiscard]] std::string npzText(const io::Model& model, const Solution& solution);

/// The point in such an archive. Of the arrays x and names must be there.
///
/// @param path  for messages
/// @raises io::ReadError
[[nodiscard]] StoredPoint npzPoint(std::string_view text, const std::string& path);

}  // namespace activeset::cli

#endif
