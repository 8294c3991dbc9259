// From C's pointers and structs to the front end's views and settings, and back.
#ifndef ACTIVESET_SRC_C_INTERFACE_CONVERT_HPP
#define ACTIVESET_SRC_C_INTERFACE_CONVERT_HPP

#include <cstdint>
#include <string>
#include <vector>

#include "activeset/activeset.h"
#include "activeset/qp.hpp"

namespace activeset::c_interface {

/// A view of a matrix; a null pointer is an absent one. Raises BadArgument for an unknown order and
/// for a negative distance between columns.
[[nodiscard]] MatrixView matrixOf(
    const double* data, std::size_t rows, std::size_t cols, std::int64_t leading, int order);
[[nodiscard]] VectorView vectorOf(const double* data, std::size_t size);

/// The penalty; none for a null pointer. Raises BadArgument for a struct of another size.
[[nodiscard]] Penalty penaltyOf(const activeset_penalty* penalty, std::size_t count);

/// The settings; the defaults for a null pointer. Raises BadArgument for an unknown start mode.
[[nodiscard]] Settings settingsOf(const activeset_options* options);

/// The working set of m row sides and n bound sides; null pointers stand for no sides. A number
/// that names no side is left out.
[[nodiscard]] WorkingSet workingSetOf(const std::int8_t* rowSides,
                                      std::size_t m,
                                      const std::int8_t* boundSides,
                                      std::size_t n);
/// Writes the working set into the arrays that are not null.
void writeSides(const WorkingSet& set,
                std::int8_t* rowSides,
                std::size_t m,
                std::int8_t* boundSides,
                std::size_t n);

/// Copies values into an array of `count` numbers, unless it is null. Entries without a value are
/// NaN.
void writeVector(const std::vector<double>& values, double* target, std::size_t count);

/// The optimum in the arrays of the caller's struct.
/// @raises BadArgument if one of the arrays is null
[[nodiscard]] Result resultOf(const activeset_result* given, std::size_t n, std::size_t m);

/// Writes the members of `target` that the caller's version of the struct has.
void writeResult(const Result& result, std::size_t n, std::size_t m, activeset_result* target);

/// Writes a text and its end into an array of `size` characters, cut between two characters of
/// UTF-8.
void writeText(const std::string& text, char* target, std::int64_t size);

}  // namespace activeset::c_interface

#endif
