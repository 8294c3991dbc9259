// A result as an archive of arrays, for NumPy.
#ifndef ACTIVESET_CLI_NPZ_RESULT_HPP
#define ACTIVESET_CLI_NPZ_RESULT_HPP

#include <string>

#include "cli/solve_model.hpp"
#include "io/model.hpp"

namespace activeset::cli {

/// The archive: outcome and names; with a point objective, x, y, z; else the arrays of the proof.
[[nodiscard]] std::string npzText(const io::Model& model, const Solution& solution);

}  // namespace activeset::cli

#endif
