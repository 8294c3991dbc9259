// The natural sizes of the numbers of a problem. A residual is small in proportion to them, even if
// all data are tiny.
#ifndef ACTIVESET_SRC_FRONTEND_PROOF_UNITS_HPP
#define ACTIVESET_SRC_FRONTEND_PROOF_UNITS_HPP

#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

/// Sizes of variables and sums; 1 where the data do not tell.
struct Units {
    double variable = 1.0;
    double gradient = 1.0;
    double entry = 1.0;          ///< of A
    double smallest = Infinity;  ///< smallest size of a variable that a part of the data tells

    Units(const ProblemData& data, const Vector& x);

    /// The size of row i, for rows with small terms. A row of zeros gets that of other rows.
    [[nodiscard]] double ofRow(const ProblemData& data, std::size_t i) const;
    /// The size of the objective, but at most 1.
    [[nodiscard]] double ofObjective() const;
};

[[nodiscard]] double largestEntryOfRow(const ProblemData& data, std::size_t i);
/// The smallest size of variables that the data tell, but at least 1.
[[nodiscard]] double leastSize(const ProblemData& data);
/// The largest size of variables that the data tell, but at least 1.
[[nodiscard]] double mostSize(const ProblemData& data);

}  // namespace activeset::frontend

#endif
