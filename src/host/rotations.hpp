// Sequences of plane rotations, as updates of orthogonal factors make them.
#ifndef ACTIVESET_SRC_HOST_ROTATIONS_HPP
#define ACTIVESET_SRC_HOST_ROTATIONS_HPP

#include "host/blas.hpp"

namespace activeset {

/// Turns neighbouring columns of a, the last pair first: rotation r turns columns cols − 2 − r and
/// cols − 1 − r. At most cols − 1 rotations.
void turnColumnsFromLast(Block a, size_t count, const double* cosines, const double* sines);

}  // namespace activeset

#endif
