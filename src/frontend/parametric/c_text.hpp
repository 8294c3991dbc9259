// Pieces of C source.
#ifndef ACTIVESET_SRC_FRONTEND_PARAMETRIC_C_TEXT_HPP
#define ACTIVESET_SRC_FRONTEND_PARAMETRIC_C_TEXT_HPP

#include <ostream>
#include <string>
#include <vector>

namespace activeset::frontend {

/// @raises std::invalid_argument for what is no C identifier of at most 31 letters, or is reserved:
///         keywords, main, the functions of math.h, and what begins with an underscore
void requireName(const std::string& name, const char* caller);

/// A file with the function of that name: `head`, then "int NAME", then `body`.
///
/// @raises std::invalid_argument for a name that the file uses for something else
[[nodiscard]] std::string named(const std::string& name,
                                const std::string& head,
                                const std::string& body,
                                const char* caller);

/// static const double NAME[] = {…}; to the last bit. An empty array gets one 0.
void writeArray(std::ostream& text, const char* name, const std::vector<double>& values);
/// static const int, likewise.
void writeArray(std::ostream& text, const char* name, const std::vector<std::size_t>& values);

}  // namespace activeset::frontend

#endif
