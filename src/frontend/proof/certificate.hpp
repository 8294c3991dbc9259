// What points and multipliers are worth, computed from the problem's data in extended precision.
// Nothing that the solver believes enters.
#ifndef ACTIVESET_SRC_FRONTEND_PROOF_CERTIFICATE_HPP
#define ACTIVESET_SRC_FRONTEND_PROOF_CERTIFICATE_HPP

#include "frontend/problem/extended_sums.hpp"
#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

/// Multipliers become zero where the side that they would stand for is absent. Those of bounds take
/// up what the gradient misses where the bound is there, and go where they are nothing but the
/// rounding of the terms of the gradient and weigh in the gap.
void settle(const ProblemData& data, Point& point);

struct Judgement {
    Certificate certificate;
    double objective = 0.0;  ///< constant included
    double signedGap = 0.0;  ///< primal minus dual objective
    /// The largest residual in proportion to its terms, that of the gap included: near 1e-16 where
    /// all is solved as far as doubles can, even where that proves little.
    double error = Infinity;
    /// Whether what sides are missed by may matter, be it rounding alone: to meet them x may have
    /// to move where another side, without a multiplier to weigh that, is near; or multipliers are
    /// large and cancel.
    bool isDelicate = false;
};

/// Multipliers whose terms of the gradient are so many times larger than all others cancel: their
/// rows are nearly parallel.
inline constexpr double Cancelling = 1e4;

/// How near a side has to be, in proportion to its terms, to hinder a point that is to make up for
/// the rounding of others.
inline constexpr double TouchedSide = 1e-11;

/// What sides are missed by, in proportion to their terms, does no harm, be rows as parallel as
/// doubles can tell.
inline constexpr double NegligibleMiss = 1e-27;

/// Whether a value is beyond one of its sides, or near it.
///
/// @param scale  the size of the terms of the value
[[nodiscard]] bool touches(
    Extended value, double scale, double lower, double upper, double reach = TouchedSide);

/// Of the point as settle() would leave it.
///
/// @param digits  more digits of x and y, to be added to them, which bring the gradient nearer to
///                zero than doubles can; z is not read
[[nodiscard]] Judgement judge(const ProblemData& data, Point point, const Point* digits = nullptr);

/// The same, and leaves the point so.
[[nodiscard]] Judgement settleAndJudge(const ProblemData& data,
                                       Point& point,
                                       const Point* digits = nullptr);

/// The largest violation of a row or bound.
[[nodiscard]] Residual violation(const ProblemData& data, const Vector& x);

}  // namespace activeset::frontend

#endif
