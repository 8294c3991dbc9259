// A nearest feasible point in words.
#ifndef ACTIVESET_CLI_RELAX_WORDS_HPP
#define ACTIVESET_CLI_RELAX_WORDS_HPP

#include <string>

#include "activeset/relax.hpp"
#include "io/model.hpp"

namespace activeset::cli {

/// The point, and which rows and bounds give way by how much.
[[nodiscard]] std::string relaxationText(const io::Model& model, const Relaxation& relaxation);

}  // namespace activeset::cli

#endif
