// The way from the multipliers of one set to those of another.
#ifndef ACTIVESET_SRC_FRONTEND_PREDICT_MULTIPLIER_PATH_HPP
#define ACTIVESET_SRC_FRONTEND_PREDICT_MULTIPLIER_PATH_HPP

#include <vector>

#include "frontend/algebra/vector.hpp"

namespace activeset::frontend {

/// Where the way ends.
struct MultiplierPath {
    Vector multipliers;
    std::vector<bool> hasVanished;  ///< whether the multiplier has become zero
};

/// Goes straight from some multipliers to others until a sign would change.
///
/// @param from   none has the wrong sign
/// @param signs  1 or −1 for the sign that a multiplier must have, 0 where both will do
/// @post         the way has no length if a multiplier that is zero would get the wrong sign;
///               all of those have vanished then
[[nodiscard]] MultiplierPath pathBetween(const Vector& from, const Vector& to, const Vector& signs);

}  // namespace activeset::frontend

#endif
