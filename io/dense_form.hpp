// From the rows and columns of a file to the dense form of the solver.
#ifndef ACTIVESET_IO_DENSE_FORM_HPP
#define ACTIVESET_IO_DENSE_FORM_HPP

#include <cstddef>
#include <string>

#include "io/coin_deck.hpp"
#include "io/problem.hpp"
#include "io/section_scan.hpp"

namespace activeset::io {

/// The problem that `scanned` describes, its linear part as CoinUtils read it.
///
/// @raises ReadError (line 0) if the dense matrices would take more than `limit` bytes
[[nodiscard]] Problem denseForm(ScannedFile scanned,
                                LinearPart linear,
                                std::size_t limit,
                                const std::string& file);

}  // namespace activeset::io

#endif
