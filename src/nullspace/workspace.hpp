// What a null-space solver keeps between passes beside the factors that its interface shows.
#ifndef ACTIVESET_SRC_NULLSPACE_WORKSPACE_HPP
#define ACTIVESET_SRC_NULLSPACE_WORKSPACE_HPP

#include "nullspace/reduced_hessian.hpp"

namespace activeset {

struct NullSpaceWorkspace {
    ReducedHessian reducedHessian;
    RotationSweep sweep;         // of the last insertion
    bool updatesAllowed = true;  // tests turn it off to compare with the plain computation
};

}  // namespace activeset

#endif
