// The parts of a problem as Python knows it, made into one of the front end: G and A become one
// matrix of rows, those of G first.
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
    /// @raises ProblemError for an argument that describes no penalties
    SoftSides(py::handle soft,
              std::size_t variables,
              std::size_t inequalities,
              std::size_t equalities);

    std::array<py::object, 8> owners;
    Penalty rows;
    Penalty bounds;
};

class ProblemData {
public:
    ProblemData() = default;
    /// @param like  if it has the same G and A, its joined rows are used again; may be null
    /// @raises ProblemError, which lists all misfits
    explicit ProblemData(const GivenParts& given, const ProblemData* like = nullptr);
    /// Reads the constraints alone, for so many variables. Returns false if they do not fit
    /// together.
    /// @raises ProblemError, of the first part that is no array
    [[nodiscard]] bool readConstraints(const GivenParts& given, std::size_t variables);

    [[nodiscard]] const Problem& views() const noexcept { return views_; }
    [[nodiscard]] std::size_t variables() const noexcept { return n_; }
    [[nodiscard]] std::size_t inequalities() const noexcept { return rowsOfG_; }
    [[nodiscard]] std::size_t equalities() const noexcept { return rowsOfA_; }
    /// The arrays that the views read; null for other parts.
    [[nodiscard]] const std::array<py::object, Parts>& owners() const noexcept { return owners_; }
    /// The number of entries of H and of the rows: a measure of how long a solve may take.
    [[nodiscard]] std::size_t entries() const noexcept { return n_ * (n_ + rowsOfG_ + rowsOfA_); }

private:
    bool read(const GivenParts& given, std::optional<std::size_t> variables = {});
    /// Whether the parts that were read have sizes that belong together.
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
    std::vector<double> sides_;  ///< of joined rows: lower, then upper
    std::size_t n_ = 0;
    std::size_t rowsOfG_ = 0;
    std::size_t rowsOfA_ = 0;
};

/// The matrix with the rows of both.
[[nodiscard]] std::shared_ptr<const JoinedRows> joined(const MatrixView& G, const MatrixView& A);

/// The parts by name.
[[nodiscard]] py::dict dictOf(const GivenParts& given);

/// Raises ProblemError with all that is wrong with shapes and types.
[[noreturn]] void raiseMisfit(const GivenParts& given);

}  // namespace activeset::python

#endif
