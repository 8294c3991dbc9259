// Rows and bounds in the words of the model.
#ifndef ACTIVESET_CLI_WORDS_HPP
#define ACTIVESET_CLI_WORDS_HPP

#include <cstddef>
#include <string>
#include <vector>

#include "activeset/qp.hpp"
#include "io/model.hpp"

namespace activeset::cli {

enum class Side { Lower, Upper };

/// "capacity: x + y ≤ 4"; "=" where both sides are equal. A long sum is cut.
[[nodiscard]] std::string rowWords(const io::Model& model, std::size_t row, Side side);

/// "x ≥ 3"
[[nodiscard]] std::string boundWords(const io::Model& model, std::size_t column, Side side);

/// The members of the set, rows first.
[[nodiscard]] std::vector<std::string> conflictWords(const io::Model& model,
                                                     const Conflict& conflict);

}  // namespace activeset::cli

#endif
