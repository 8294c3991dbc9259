// Arrays to their bytes: version 1 of the format, column by column.
#include <algorithm>
#include <bit>
#include <cstdint>

#include "io/npy_array.hpp"
#include "io/npy_header.hpp"
#include "io/utf8.hpp"

namespace activeset::io {

namespace {

/// The bytes before the entries. The text reserves room for so many bytes of entries.
std::string beginningOf(const std::string& type,
                        const std::vector<std::size_t>& shape,
                        std::size_t entries) {
    constexpr std::size_t Alignment = 64;
    std::string sizes;
    for (const std::size_t size : shape) {
        sizes += std::to_string(size) + ", ";
    }
    std::string header =
        "{'descr': '" + type + "', 'fortran_order': True, 'shape': (" + sizes + "), }";
    const std::size_t fixed = NpyMagic.size() + 4;
    header.append(Alignment - (fixed + header.size() + 1) % Alignment, ' ');
    header += '\n';
    std::string bytes(NpyMagic);
    bytes += {'\x01', '\x00', static_cast<char>(header.size() & 0xFFU),
              static_cast<char>(header.size() >> 8U)};
    bytes.reserve(bytes.size() + header.size() + entries);
    return bytes + header;
}

void appendLittleEndian(std::string& bytes, std::uint64_t value, std::size_t size) {
    for (std::size_t k = 0; k < size; ++k) {
        bytes += static_cast<char>(value >> (8 * k) & 0xFFU);
    }
}

std::vector<std::uint32_t> charactersOf(std::string_view text) {
    constexpr std::uint32_t Replacement = 0xFFFD;
    std::vector<std::uint32_t> characters;
    while (!text.empty()) {
        const Character next = firstCharacter(text);
        characters.push_back(next.bytes == 0 ? Replacement : next.code);
        text.remove_prefix(std::max<std::size_t>(next.bytes, 1));
    }
    return characters;
}

}  // namespace

std::string npyBytes(const std::vector<double>& values, const std::vector<std::size_t>& shape) {
    std::string bytes = beginningOf("<f8", shape, sizeof(double) * values.size());
    for (const double value : values) {
        appendLittleEndian(bytes, std::bit_cast<std::uint64_t>(value), sizeof(double));
    }
    return bytes;
}

std::string npyBytes(const std::vector<std::string>& texts, bool isScalar) {
    std::vector<std::vector<std::uint32_t>> entries;
    std::size_t length = 1;
    for (const std::string& text : texts) {
        entries.push_back(charactersOf(text));
        length = std::max(length, entries.back().size());
    }
    std::string bytes =
        beginningOf("<U" + std::to_string(length),
                    isScalar ? std::vector<std::size_t>{} : std::vector<std::size_t>{texts.size()},
                    CharacterSize * length * texts.size());
    for (std::vector<std::uint32_t>& characters : entries) {
        characters.resize(length, 0);
        for (const std::uint32_t code : characters) {
            appendLittleEndian(bytes, code, CharacterSize);
        }
    }
    return bytes;
}

bool isNpyText(const std::string& text) {
    for (std::string_view rest = text; !rest.empty();) {
        const Character next = firstCharacter(rest);
        if (next.bytes == 0 || (next.code == 0 && rest.size() == 1)) {
            return false;
        }
        rest.remove_prefix(next.bytes);
    }
    return true;
}

}  // namespace activeset::io
