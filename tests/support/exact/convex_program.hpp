// Small convex quadratic programs, solved without rounding.
#ifndef ACTIVESET_TESTS_SUPPORT_EXACT_CONVEX_PROGRAM_HPP
#define ACTIVESET_TESTS_SUPPORT_EXACT_CONVEX_PROGRAM_HPP

#include <optional>

#include "support/exact/rational.hpp"

namespace activeset::test::exact {

/// minimise ½vᵀQv + gᵀv subject to G·v ≤ h; v is free, Q positive semidefinite.
struct ConvexProgram {
    Matrix Q;  ///< k × k
    Vector g;  ///< k
    Matrix G;  ///< sides × k
    Vector h;
};

struct Optimum {
    Vector v;
    Vector multipliers;  ///< of the sides, from 0 up
};

/// Nothing for a program that is infeasible or unbounded. What is returned satisfies the conditions
/// of optimality exactly; that is checked, apart from the method. By complementary pivoting (Lemke
/// 1965) with the lexicographic rule against cycles.
///
/// @raises std::logic_error if it does not
std::optional<Optimum> minimise(const ConvexProgram& program);

/// By symmetric elimination.
bool isPositiveSemidefinite(Matrix Q);

}  // namespace activeset::test::exact

#endif
