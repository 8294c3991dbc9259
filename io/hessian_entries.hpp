// From the entries of a quadratic section to those of a symmetric matrix.
#ifndef ACTIVESET_IO_HESSIAN_ENTRIES_HPP
#define ACTIVESET_IO_HESSIAN_ENTRIES_HPP

#include <functional>
#include <string>
#include <vector>

#include "io/coin_deck.hpp"
#include "io/location.hpp"

namespace activeset::io {

/// All entries of H, both triangles.
///
/// @param given  as in the file: one triangle, each pair of columns once in either order, or, if
///               `full`, both triangles
/// @param names  of the columns, for messages
/// @param onLine the place in the file, from the number of a line
/// @raises ReadError when an entry is given twice, or the full matrix is not symmetric
[[nodiscard]] std::vector<MatrixEntry> completeHessian(
    std::vector<MatrixEntry> given,
    bool full,
    const std::vector<std::string>& names,
    const std::function<Location(std::size_t)>& onLine);

}  // namespace activeset::io

#endif
