// From the rows and columns of a file to dense matrices.
#ifndef ACTIVESET_IO_DENSE_FORM_HPP
#define ACTIVESET_IO_DENSE_FORM_HPP

#include <cstddef>
#include <string>

#include "io/coin_deck.hpp"
#include "io/model.hpp"
#include "io/section_scan.hpp"

namespace activeset::io {

/// Raises unless the dense matrices of so many variables and sides fit `limit` bytes.
/// @raises ReadError (line 0)
void checkDenseSize(std::size_t variables,
                    std::size_t sides,
                    std::size_t limit,
                    const std::string& file);

/// The problem that `scanned` describes, its linear part as CoinUtils read it.
///
/// @raises ReadError (line 0) if the dense matrices would take more than `limit` bytes
[[nodiscard]] Model modelOf(ScannedFile scanned,
                            LinearPart linear,
                            std::size_t limit,
                            const std::string& file);

}  // namespace activeset::io

#endif
