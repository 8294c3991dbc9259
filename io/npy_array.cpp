// Arrays from their bytes: the header says how the entries behind it lie.
#include "io/npy_array.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>

#include "io/npy_header.hpp"
#include "io/read_error.hpp"
#include "io/utf8.hpp"

namespace activeset::io {

namespace {

std::size_t littleEndian(std::string_view bytes) {
    std::size_t value = 0;
    for (std::size_t k = bytes.size(); k-- > 0;) {
        value = value << 8U | static_cast<unsigned char>(bytes[k]);
    }
    return value;
}

/// The header of a member, and the bytes behind it.
struct Parts {
    std::string_view header;
    std::string_view data;
};

std::optional<Parts> partsOf(std::string_view bytes) {
    constexpr std::size_t VersionSize = 2;
    const std::size_t fixed = NpyMagic.size() + VersionSize;
    if (!bytes.starts_with(NpyMagic) || bytes.size() < fixed) {
        return {};
    }
    const char version = bytes[NpyMagic.size()];
    const std::size_t lengthSize = version == 1 ? 2 : 4;
    if (version < 1 || version > 3 || bytes.size() < fixed + lengthSize) {
        return {};
    }
    const std::size_t length = littleEndian(bytes.substr(fixed, lengthSize));
    const std::string_view rest = bytes.substr(fixed + lengthSize);
    if (length > rest.size()) {
        return {};
    }
    return Parts{rest.substr(0, length), rest.substr(length)};
}

/// The number of entries times their size; nothing if the product is no std::size_t.
std::optional<std::size_t> bytesOf(const NpyArray& array) {
    std::size_t bytes = array.entrySize;
    for (const std::size_t size : array.shape) {
        if (size != 0 && bytes > std::numeric_limits<std::size_t>::max() / size) {
            return {};
        }
        bytes *= size;
    }
    return bytes;
}

/// The bits of entry `k`, the least significant byte first.
std::uint64_t bitsOf(const NpyArray& array, std::size_t k) {
    std::array<char, 8> bytes{};
    std::memcpy(bytes.data(), array.data.data() + k * array.entrySize, array.entrySize);
    if (array.isBigEndian) {
        std::reverse(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(array.entrySize));
    }
    return littleEndian({bytes.data(), bytes.size()});
}

/// The number with these bits; NaN for a whole number that no double is equal to.
double numberOf(const NpyArray& array, std::uint64_t bits) {
    constexpr int Digits = std::numeric_limits<double>::digits;
    if (array.kind == 'f') {
        return array.entrySize == 8
                   ? std::bit_cast<double>(bits)
                   : static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(bits)));
    }
    const auto width = static_cast<unsigned>(8 * array.entrySize);
    const bool isNegative = array.kind == 'i' && (bits >> (width - 1) & 1U) != 0;
    const std::uint64_t sized = width == 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << width) - 1;
    const std::uint64_t size = isNegative ? (~bits + 1) & sized : bits;
    if (size != 0 && static_cast<int>(std::bit_width(size)) - std::countr_zero(size) > Digits) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    return isNegative ? -static_cast<double>(size) : static_cast<double>(size);
}

/// NumPy's pickle of the array that holds None. The name of a module of NumPy is left out, since
/// it differs between versions.
struct PickledNone {
    std::string_view before;
    std::string_view module;
    std::string_view after;
};

// Literals end where the next escape would swallow a letter.
using namespace std::string_view_literals;
constexpr std::string_view AfterProtocol3 =
    "\n_reconstruct\nq\0cnumpy\nndarray\nq\1K\0\x85q\2C\1bq\3\x87q\4Rq\5(K\1)"
    "cnumpy\ndtype\nq\6X\2\0\0\0"
    "O8q\7\x89\x88\x87q\x08Rq\x09(K\3X\1\0\0\0|q\nNNNJ\xff\xff\xff\xffJ\xff\xff\xff\xffK?tq\x0b"
    "b\x89]q\x0cNatq\rb."sv;
constexpr std::string_view AfterProtocol4 =
    "\x94\x8c\x0c_reconstruct\x94\x93\x94\x8c\5numpy\x94\x8c\7ndarray\x94\x93\x94K\0\x85\x94"
    "C\1b\x94\x87\x94R\x94(K\1)h\3\x8c\5dtype\x94\x93\x94\x8c\2O8\x94\x89\x88\x87\x94R\x94("
    "K\3\x8c\1|\x94"
    "NNNJ\xff\xff\xff\xffJ\xff\xff\xff\xffK?t\x94"
    "b\x89]\x94Nat\x94"
    "b."sv;
constexpr std::array<PickledNone, 4> PickledNones{{
    {"\x80\3c"sv, "numpy.core.multiarray"sv, AfterProtocol3},
    {"\x80\3c"sv, "numpy._core.multiarray"sv, AfterProtocol3},
    {"\x80\4\x95\x86\0\0\0\0\0\0\0\x8c\x15"sv, "numpy.core.multiarray"sv, AfterProtocol4},
    {"\x80\4\x95\x87\0\0\0\0\0\0\0\x8c\x16"sv, "numpy._core.multiarray"sv, AfterProtocol4},
}};

}  // namespace

std::size_t NpyArray::count() const noexcept {
    std::size_t count = 1;
    for (const std::size_t size : shape) {
        count *= size;
    }
    return count;
}

bool isPickledNone(std::string_view bytes) {
    const std::optional<Parts> parts = partsOf(bytes);
    if (!parts) {
        return false;
    }
    std::string_view header = parts->header;
    header = header.substr(0, header.find_last_not_of(" \n") + 1);
    return header == "{'descr': '|O', 'fortran_order': False, 'shape': (), }" &&
           std::any_of(PickledNones.begin(), PickledNones.end(), [&](const PickledNone& none) {
               std::string_view rest = parts->data;
               for (const std::string_view part : {none.before, none.module, none.after}) {
                   if (!rest.starts_with(part)) {
                       return false;
                   }
                   rest.remove_prefix(part.size());
               }
               return rest.empty();
           });
}

NpyArray parseNpy(std::string_view bytes, const std::string& place) {
    const std::optional<Parts> parts = partsOf(bytes);
    if (!parts) {
        throw ReadError(place, 0, "expected an array in the format .npy, version 1 to 3");
    }
    NpyArray array = parseNpyHeader(parts->header, place);
    const std::optional<std::size_t> size = bytesOf(array);
    if (!size || *size != parts->data.size()) {
        throw ReadError(place, 0,
                        "expected " + (size ? std::to_string(*size) : "too many") +
                            " bytes of entries, found " + std::to_string(parts->data.size()));
    }
    array.data = parts->data;
    return array;
}

std::vector<double> numbersOf(const NpyArray& array, const std::string& place) {
    if (array.kind == 'U') {
        throw ReadError(place, 0, "expected numbers, found texts");
    }
    const std::size_t count = array.count();
    std::vector<double> values(count);
    // Entry (i, j) of a matrix whose rows lie one behind the other goes to column j.
    const bool isTurned = array.shape.size() == 2 && !array.isColumnMajor;
    const std::size_t rows = isTurned ? array.shape[0] : 1;
    const std::size_t columns = isTurned ? array.shape[1] : count;
    for (std::size_t k = 0; k < count; ++k) {
        const double value = numberOf(array, bitsOf(array, k));
        if (std::isnan(value)) {
            throw ReadError(
                place, 0,
                "entry " + std::to_string(k) + ": expected a number that a double can hold");
        }
        values[isTurned ? k % columns * rows + k / columns : k] = value;
    }
    return values;
}

std::vector<std::string> textsOf(const NpyArray& array, const std::string& place) {
    if (array.kind != 'U') {
        throw ReadError(place, 0, "expected texts, found numbers");
    }
    std::vector<std::string> texts(array.count());
    NpyArray characters = array;
    characters.entrySize = CharacterSize;
    const std::size_t length = array.entrySize / CharacterSize;
    for (std::size_t k = 0; k < texts.size(); ++k) {
        std::size_t last = length;
        while (last > 0 && bitsOf(characters, k * length + last - 1) == 0) {
            --last;
        }
        for (std::size_t at = 0; at < last; ++at) {
            const std::uint64_t code = bitsOf(characters, k * length + at);
            if (code > 0xFFFFFFFFU || !isCharacter(static_cast<std::uint32_t>(code))) {
                throw ReadError(place, 0, "text " + std::to_string(k) + ": expected characters");
            }
            appendUtf8(texts[k], static_cast<std::uint32_t>(code));
        }
    }
    return texts;
}

}  // namespace activeset::io
