// Products with the rows of bounds, which have a single entry ±1 each.
#ifndef ACTIVESET_SRC_PROBLEM_BOUND_ROWS_HPP
#define ACTIVESET_SRC_PROBLEM_BOUND_ROWS_HPP

#include <cstddef>
#include <span>

#include "activeset/internal/index_list.hpp"
#include "activeset/matrix.hpp"

namespace activeset {

/// The bounds of one side: bound k constrains variable index[k] with the coefficient `sign`.
struct BoundRows {
    double sign;          // −1 for lower bounds, +1 for upper bounds
    const size_t* index;  // `count` variables
    size_t count;
    size_t variables;  // the width of a row

    /// rows·x, count × 1, with the same result as the product with the rows written out, also for
    /// infinite and NaN entries of x. Raises the matrix product's fault for an x of another length.
    [[nodiscard]] OPTMatrix<double> times(const OPTMatrix<double>& x) const;
    /// The same into `out`; false, and nothing written, unless x and out have the lengths for it.
    [[nodiscard]] bool timesTo(std::span<const double> x, std::span<double> out) const;
    /// Row k, 1 × variables; raises "Index exceed number of row.".
    [[nodiscard]] OPTMatrix<double> row(size_t k) const;
    /// The same into `out`, which has `variables` entries.
    void rowTo(size_t k, std::span<double> out) const;
    /// Writes all rows into `rows`, which is empty or of this shape.
    void writeOut(OPTMatrix<double>& rows) const;

    /// index[k]: callers of the constraint set can write to its list, so it is looked at again.
    [[nodiscard]] size_t variableOf(size_t k) const;
};

/// The rows of the bounds in a list. As many as right-hand sides, and never more than the list has
/// entries: an assignment that raised half-way may have changed one and not the other.
[[nodiscard]] BoundRows lowerRows(const IndexList& index,
                                  const OPTMatrix<double>& rhs,
                                  size_t variables);
[[nodiscard]] BoundRows upperRows(const IndexList& index,
                                  const OPTMatrix<double>& rhs,
                                  size_t variables);

}  // namespace activeset

#endif
