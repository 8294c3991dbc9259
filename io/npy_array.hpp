// Arrays in NumPy's format .npy: numbers and texts.
#ifndef ACTIVESET_IO_NPY_ARRAY_HPP
#define ACTIVESET_IO_NPY_ARRAY_HPP

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace activeset::io {

/// An array as it lies in a member.
struct NpyArray {
    char kind = 'f';            ///< float, 'i' and 'u' whole numbers, 'b' bool, 'U' text
    std::size_t entrySize = 8;  ///< bytes
    bool isBigEndian = false;
    bool isColumnMajor = false;
    std::vector<std::size_t> shape{};
    std::string_view data{};  ///< points into the member

    [[nodiscard]] std::size_t count() const noexcept;
};

/// Whether these bytes are the array without dimensions that holds None. It stands for an absent
/// part. The bytes are compared: nothing is ever unpickled.
[[nodiscard]] bool isPickledNone(std::string_view bytes);

/// The array in `bytes`, of version 1 to 3 of the format.
/// @param place  for messages: file and member
/// @raises ReadError (line 0) with what was expected; also for objects and records
[[nodiscard]] NpyArray parseNpy(std::string_view bytes, const std::string& place);

/// The entries as numbers, column by column where there are two dimensions.
/// @raises ReadError (line 0) for texts, and for whole numbers that no double is equal to
[[nodiscard]] std::vector<double> numbersOf(const NpyArray& array, const std::string& place);

/// The entries as UTF-8, in the order of memory.
/// @raises ReadError (line 0) for numbers, and for code points that are no character
[[nodiscard]] std::vector<std::string> textsOf(const NpyArray& array, const std::string& place);

/// The bytes of an array of float64 that lies column by column.
[[nodiscard]] std::string npyBytes(const std::vector<double>& values,
                                   const std::vector<std::size_t>& shape);

/// The bytes of an array of texts, one or no dimension. What is not UTF-8 becomes U+FFFD.
[[nodiscard]] std::string npyBytes(const std::vector<std::string>& texts, bool isScalar = false);

/// Whether npyBytes keeps the text as it is: UTF-8 that does not end in a zero.
[[nodiscard]] bool isNpyText(const std::string& text);

}  // namespace activeset::io

#endif
