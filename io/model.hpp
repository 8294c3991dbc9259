// A quadratic program as a file tells it: rows with two sides, and names.
#ifndef ACTIVESET_IO_MODEL_HPP
#define ACTIVESET_IO_MODEL_HPP

#include <cstddef>
#include <string>
#include <vector>

#include "io/penalties.hpp"
#include "io/problem.hpp"

namespace activeset::io {

/// min ½xᵀHx + cᵀx + constant subject to rowLower ≤ A·x ≤ rowUpper, lower ≤ x ≤ upper.
///
/// Matrices are dense and column-major; a side that is absent is infinite, one that
/// has a penalty is soft. Every reader makes one
/// of these, every writer takes one.
struct Model {
    std::string name;
    /// The file asked for a maximum: H, c and constant are those of the negated objective.
    bool maximise = false;
    std::vector<double> H;  ///< n × n, symmetric, both triangles
    std::vector<double> c;  ///< n
    double constant = 0.0;
    std::vector<double> A;                 ///< m × n
    std::vector<double> rowLower;          ///< m
    std::vector<double> rowUpper;          ///< m
    std::vector<double> lower;             ///< n
    std::vector<double> upper;             ///< n
    std::vector<std::string> variables{};  ///< n names, none twice
    std::vector<std::string> rows{};       ///< m names, none twice
    std::vector<Note> notes{};             ///< by line
    Penalties rowPenalty{};                ///< m each; a price of the objective, whatever its sense
    Penalties boundPenalty{};              ///< n each

    [[nodiscard]] std::size_t n() const noexcept { return variables.size(); }
    [[nodiscard]] std::size_t m() const noexcept { return rows.size(); }
};

}  // namespace activeset::io

#endif
