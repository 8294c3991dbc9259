// What the target for the classes runs.
#ifndef ACTIVESET_FUZZ_BENCHES_HPP
#define ACTIVESET_FUZZ_BENCHES_HPP

#include "bytes.hpp"

namespace activeset::fuzz {

/// Operations on up to six matrices, each done on a plain model as well.
void tryMatrices(Bytes& bytes);
/// Changes of a solver's working set; its factors, direction and multipliers checked after each.
void followWorkingSet(Bytes& bytes);
/// Public members in any order, before init() and after errors too.
void callInAnyOrder(Bytes& bytes);

}  // namespace activeset::fuzz

#endif
