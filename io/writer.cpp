// Chooses the writer of a format, and writes numbers for all of them.
#include "io/writer.hpp"

#include <array>
#include <charconv>

#include "io/penalties.hpp"
#include "io/read_error.hpp"

namespace activeset::io {

std::string exactNumber(double value) {
    std::array<char, 40> digits{};
    const auto* const end =
        std::to_chars(digits.data(), digits.data() + digits.size(), value + 0.0).ptr;
    return {digits.data(), static_cast<std::size_t>(end - digits.data())};
}

std::string modelText(const Model& model, Format format, const std::string& file) {
    const bool hasPenalties = format == Format::Json || format == Format::Npz;
    const std::string soft = hasPenalties ? std::string() : softMember(model);
    if (!soft.empty()) {
        throw ReadError(
            file, 0,
            "the format has no penalties, but " + soft + " is soft; JSON and NPZ have them");
    }
    switch (format) {
        case Format::Lp:
            return lpText(model);
        case Format::Json:
            return jsonText(model);
        case Format::Npz:
            return npzText(model);
        default:
            return mpsText(model);
    }
}

}  // namespace activeset::io
