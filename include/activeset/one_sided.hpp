// Rows with two sides as NullSpaceASdriver takes them: as equalities and rows with an upper side.
#ifndef ACTIVESET_ONE_SIDED_HPP
#define ACTIVESET_ONE_SIDED_HPP

#include <cstddef>
#include <vector>

#include "activeset/qp.hpp"

namespace activeset {

/// One side of a row.
struct RowSide {
    std::size_t row = 0;   ///< 0-based
    bool isUpper = false;  ///< its upper side; else its lower one
};

/// The rows rowLower ≤ A·x ≤ rowUpper of a problem as A·x ≤ b and Aeq·x = beq. Matrices are dense,
/// in columns.
struct OneSidedRows {
    /// inequalities.size() × n. Upper sides stand as they are, lower sides are negated.
    std::vector<double> A{};
    std::vector<double> b{};    ///< inequalities.size()
    std::vector<double> Aeq{};  ///< equalities.size() × n
    std::vector<double> beq{};  ///< equalities.size()
    /// The finite sides of the other rows, ascending by row; the upper side of a row comes first.
    std::vector<RowSide> inequalities{};
    std::vector<std::size_t> equalities{};  ///< rows whose sides are equal; 0-based, ascending
    /// What is wrong with A, rowLower and rowUpper; if something is, the other members are empty.
    std::vector<Fault> faults{};
};

/// Splits the rows of a problem. The bounds and the objective are not looked at, except that c or
/// H tells how many variables there are.
[[nodiscard]] ACTIVESET_API OneSidedRows oneSidedRows(const Problem& problem);

}  // namespace activeset

#endif
