// Writes problems to files of all formats.
#ifndef ACTIVESET_IO_WRITER_HPP
#define ACTIVESET_IO_WRITER_HPP

#include <string>

#include "io/model.hpp"
#include "io/reader.hpp"

namespace activeset::io {

/// The model in that format. The reader makes the same model of it bit for bit, with three
/// exceptions. LP keeps curvature and constants to rounding. Names that the format cannot hold
/// become x1, …, r1, …. NPZ holds the minimisation, with its equalities last. Automatic is MPS.
///
/// @param file  named in the error
/// @raises ReadError for soft sides in MPS and LP, which have none
[[nodiscard]] std::string modelText(const Model& model,
                                    Format format,
                                    const std::string& file = "model");

// One per format. JSON and NPZ write penalties, the others leave them out.
[[nodiscard]] std::string mpsText(const Model& model);
[[nodiscard]] std::string lpText(const Model& model);
[[nodiscard]] std::string jsonText(const Model& model);
[[nodiscard]] std::string npzText(const Model& model);

/// The shortest decimal number that is read as `value`.
[[nodiscard]] std::string exactNumber(double value);

/// The names, if `isAllowed` takes all of them; otherwise the letter with a number for each.
template <class IsAllowed>
std::vector<std::string> usableNames(const std::vector<std::string>& names,
                                     char letter,
                                     IsAllowed isAllowed) {
    bool isUsable = true;
    for (const std::string& name : names) {
        isUsable = isUsable && isAllowed(name);
    }
    std::vector<std::string> usable = names;
    for (std::size_t k = 0; !isUsable && k < names.size(); ++k) {
        usable[k] = letter + std::to_string(k + 1);
    }
    return usable;
}

}  // namespace activeset::io

#endif
