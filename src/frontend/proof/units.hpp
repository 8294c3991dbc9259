// The sizes that are natural for the numbers of a problem, so that a residual can be small in
// proportion to what the data are like, be they all tiny.
#ifndef ACTIVESET_SRC_FRONTEND_PROOF_UNITS_HPP
#define ACTIVESET_SRC_FRONTEND_PROOF_UNITS_HPP

#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

/// 1 where the data do not tell.
struct Units {
    double variable = 1.0;
    double gradient = 1.0;
    double entry = 1.0;          ///< of A
    double smallest = Infinity;  ///< that any part of the data tells of a variable

    Units(const ProblemData& data, const Vector& x);

    /// Of a row with small terms. Rows of zeros are judged like others.
    [[nodiscard]] double ofRow(const ProblemData& data, std::size_t i) const;
    /// Of the objective, but no more than 1.
    [[nodiscard]] double ofObjective() const;
};

[[nodiscard]] double largestEntryOfRow(const ProblemData& data, std::size_t i);
/// A lower bound, by what the data tell, of how large variables are; never less than 1.
[[nodiscard]] double leastSize(const ProblemData& data);
/// An upper bound of the same; never less than 1.
[[nodiscard]] double mostSize(const ProblemData& data);

}  // namespace activeset::frontend

#endif
