// Soft sides that a solution violates, in the words of the model.
#ifndef ACTIVESET_CLI_SOFT_SIDES_HPP
#define ACTIVESET_CLI_SOFT_SIDES_HPP

#include <string>
#include <vector>

#include "activeset/qp.hpp"
#include "io/model.hpp"

namespace activeset::cli {

/// What gives way, side by side: rows at lower and at upper sides, then lower and upper bounds.
struct ViolatedWords {
    std::vector<std::string> words{};  ///< "capacity: x + y ≤ 4"
    std::vector<double> violations{};  ///< by how much; more than 0
    std::vector<double> costs{};       ///< what that costs
};

/// @pre the result has a point of the model
[[nodiscard]] ViolatedWords violatedWords(const io::Model& model, const Result& result);

}  // namespace activeset::cli

#endif
