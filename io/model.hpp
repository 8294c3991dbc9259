// A quadratic program as a file tells it: rows with two sides, and names.
#ifndef ACTIVESET_IO_MODEL_HPP
#define ACTIVESET_IO_MODEL_HPP

#include <cstddef>
#include <string>
#include <vector>

#include "activeset/qp.hpp"
#include "io/penalties.hpp"

namespace activeset::io {

/// Something in a file that was read, but perhaps not in the sense its author had in mind.
struct Note {
    std::size_t line = 0;  ///< 1-based
    std::string text;      ///< one line, no full stop
};

/// min ½xᵀHx + cᵀx + constant subject to rowLower ≤ A·x ≤ rowUpper, lower ≤ x ≤ upper.
///
/// Matrices are dense and column-major. An absent side is infinite, a side with a penalty is soft.
/// Every reader makes a model, every writer takes one.
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

/// The model as the front end takes it; valid while the model lives.
[[nodiscard]] Problem viewsOf(const Model& model);

}  // namespace activeset::io

#endif
