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
    Vector multipliers;  ///< of the sides, at least 0
};

/// The optimum, or nothing if the program is infeasible or unbounded. The method is complementary
/// pivoting (Lemke 1965) with the lexicographic rule against cycles. The optimality conditions of
/// the result are checked exactly, apart from the method.
///
/// @raises std::logic_error if that check fails
std::optional<Optimum> minimise(const ConvexProgram& program);

/// By symmetric elimination.
bool isPositiveSemidefinite(Matrix Q);

}  // namespace activeset::test::exact

#endif
