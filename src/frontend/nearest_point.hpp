// The point nearest to a given one that meets all sides, found with sides seen enlarged from there.
#ifndef ACTIVESET_SRC_FRONTEND_NEAREST_POINT_HPP
#define ACTIVESET_SRC_FRONTEND_NEAREST_POINT_HPP

#include "frontend/core/control.hpp"
#include "frontend/loop/problem_cache.hpp"
#include "frontend/problem/extended_sums.hpp"

namespace activeset::frontend {

/// What moves x by more than this part of its size leads to another point.
inline constexpr double NearPoint = 1e-6;

/// How many bits make what is about this size 1.
[[nodiscard]] int bitsOf(double size);

/// The sides of `data` as seen from x, so many times larger; those out of sight are absent.
///
/// @param rows  A·x
void magnifySides(ProblemData& data, const std::vector<Sum>& rows, const Vector& x, double factor);

/// ½dᵀd, subject to the bounds and the rows that have a side near x, enlarged by so many bits.
struct Surroundings {
    Surroundings(const ProblemData& data, const Vector& x, int bits);

    ProblemData data;
    std::vector<std::size_t> rows;  ///< of its rows, those of the problem
};

struct NearestPoint {
    bool isFound = false;
    Vector step;     ///< from x to it
    Vector claim{};  ///< weights by which rows seem to contradict one another, if one was made
    double length = 0.0;
};
/// @param around  the surroundings of x
[[nodiscard]] NearestPoint nearestPoint(ProblemCache& around,
                                        int bits,
                                        const Settings& settings,
                                        Control& control);

/// Whether a direction is near one that meets the sides which end rays, all of them exactly.
[[nodiscard]] bool isBesideRay(const ProblemData& data,
                               const Vector& direction,
                               const Settings& settings,
                               Control& control);

}  // namespace activeset::frontend

#endif
