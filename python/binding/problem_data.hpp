// Turns the parts of a Python problem into a problem of the front end. G and A become one matrix,
// with the rows of G first.
#ifndef ACTIVESET_PYTHON_PROBLEM_DATA_HPP
#define ACTIVESET_PYTHON_PROBLEM_DATA_HPP

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

#include "activeset/qp.hpp"
#include "python.hpp"

namespace activeset::python {

/// In the order of solve_qp's parameters.
enum Part : std::size_t { P, q, G, h, A, b, lb, ub, l, Constant, X0, Soft, Parts };

inline constexpr std::array<const char*, Parts> PartNames{
    "P", "q", "G", "h", "A", "b", "lb", "ub", "l", "constant", "x0", "soft"};

/// Borrowed references; null for an absent part.
using GivenParts = std::array<PyObject*, Parts>;

/// Rows of G and A together, column by column.
struct JoinedRows {
    std::vector<double> values;
};

/// The penalties of soft sides, in arrays that live as long as this.
struct SoftSides {
    SoftSides() = default;
    /// @param absent  the names of sides that the problem does not have
    /// @raises ProblemError for an argument that describes no penalties, or those of absent sides
    SoftSides(py::handle soft,
              std::size_t variables,
              std::size_t inequalities,
              std::size_t equalities,
              const py::list& absent = py::list());

    std::array<py::object, 8> owners;
    Penalty rows;
    Penalty bounds;
};

class ProblemData {
public:
    ProblemData() = default;
    /// @param like  a problem whose joined rows are used again if G and A are the same; may be null
    /// @raises ProblemError, which lists all parts that do not fit
    explicit ProblemData(const GivenParts& given, const ProblemData* like = nullptr);
    /// Reads only the constraints, for `variables` variables. Returns false if they do not fit
    /// together.
    /// @raises ProblemError for the first part that is not an array
    [[nodiscard]] bool readConstraints(const GivenParts& given, std::size_t variables);

    [[nodiscard]] const Problem& views() const noexcept { return views_; }
    [[nodiscard]] std::size_t variables() const noexcept { return n_; }
    [[nodiscard]] std::size_t inequalities() const noexcept { return rowsOfG_; }
    [[nodiscard]] std::size_t equalities() const noexcept { return rowsOfA_; }
    /// The arrays that the views read; null for other parts.
    [[nodiscard]] const std::array<py::object, Parts>& owners() const noexcept { return owners_; }
    /// The number of entries of H and of the rows, which measures how long a solve may take.
    [[nodiscard]] std::size_t entries() const noexcept { return n_ * (n_ + rowsOfG_ + rowsOfA_); }

private:
    bool read(const GivenParts& given, std::optional<std::size_t> variables = {});
    /// Whether the parts read so far have sizes that fit together.
    [[nodiscard]] bool partsFit(const GivenParts& given) const;
    [[nodiscard]] bool fits() const;
    void joinRows(const ProblemData* like);

    std::array<py::object, Parts> owners_;
    SoftSides soft_;
    MatrixView G_;
    MatrixView A_;
    VectorView h_;
    VectorView l_;
    VectorView b_;
    Problem views_;
    std::shared_ptr<const JoinedRows> joined_;
    std::vector<double> sides_;  ///< of the joined rows: lower sides, then upper sides
    std::size_t n_ = 0;
    std::size_t rowsOfG_ = 0;
    std::size_t rowsOfA_ = 0;
};

/// The matrix with the rows of G and of A.
[[nodiscard]] std::shared_ptr<const JoinedRows> joined(const MatrixView& G, const MatrixView& A);

/// The parts by name.
[[nodiscard]] py::dict dictOf(const GivenParts& given);

/// @raises ProblemError, always: it lists everything wrong with shapes and types
[[noreturn]] void raiseMisfit(const GivenParts& given);

}  // namespace activeset::python

#endif
