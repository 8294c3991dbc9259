// The facts about a small problem of the front end, computed without rounding.
#ifndef ACTIVESET_TESTS_SUPPORT_EXACT_TRUTH_HPP
#define ACTIVESET_TESTS_SUPPORT_EXACT_TRUTH_HPP

#include <optional>
#include <string>

#include "support/exact/convex_program.hpp"
#include "support/sample.hpp"

namespace activeset::test::exact {

/// The data of a Sample, by rows.
struct ProblemData {
    explicit ProblemData(const Sample& sample);

    [[nodiscard]] Rational objective(const Vector& x) const;

    std::size_t n;
    Matrix H, A;
    Vector c;
};

struct Truth {
    bool isConvex = false;  ///< on the null space of the equalities and fixed variables
    bool isFeasible = false;
    bool isBounded = false;  ///< known only if convex and feasible
    Rational optimum = 0;    ///< if bounded
    Vector x{};              ///< an optimum, if bounded
};

/// Optima, Farkas vectors and rays have been checked without rounding.
///
/// @raises std::logic_error if a check fails
Truth truthOf(const Sample& sample);

/// The problem as text, in full precision.
std::string textOf(const Sample& sample);

}  // namespace activeset::test::exact

#endif
