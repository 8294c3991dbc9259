// The three parts of the fuzz target for the class interface.
#ifndef ACTIVESET_FUZZ_BENCHES_HPP
#define ACTIVESET_FUZZ_BENCHES_HPP

#include "bytes.hpp"

namespace activeset::fuzz {

/// Does operations on up to six matrices and on a plain model of each.
void tryMatrices(Bytes& bytes);
/// Changes a solver's working set, and checks factors, direction and multipliers after each change.
void followWorkingSet(Bytes& bytes);
/// Calls public members in any order, also before init() and after errors.
void callInAnyOrder(Bytes& bytes);

}  // namespace activeset::fuzz

#endif
