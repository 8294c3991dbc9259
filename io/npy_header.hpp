// What arrays in the format .npy begin with.
#ifndef ACTIVESET_IO_NPY_HEADER_HPP
#define ACTIVESET_IO_NPY_HEADER_HPP

#include <cstddef>
#include <string>
#include <string_view>

#include "io/npy_array.hpp"

namespace activeset::io {

inline constexpr std::string_view NpyMagic = "\x93NUMPY";
inline constexpr std::size_t CharacterSize = 4;  ///< of UCS-4

/// The array that the dictionary `header` describes, without its data.
/// @param place  for messages: file and member
/// @raises ReadError (line 0)
[[nodiscard]] NpyArray parseNpyHeader(std::string_view header, const std::string& place);

}  // namespace activeset::io

#endif
