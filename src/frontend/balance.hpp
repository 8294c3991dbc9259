// The last digits of a duality gap.
#ifndef ACTIVESET_SRC_FRONTEND_BALANCE_HPP
#define ACTIVESET_SRC_FRONTEND_BALANCE_HPP

#include "frontend/certificate.hpp"

namespace activeset::frontend {

/// Changes multipliers of the working set by so little that the largest absolute residual, be it
/// that of the gap, falls; leaves the point alone where it does not.
void balance(const Data& data, const WorkingSet& set, Point& point, Judgement& judgement);

}  // namespace activeset::frontend

#endif
