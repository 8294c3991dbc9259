// Host arrays of any class, storage and structure under the host's own operations.
#ifndef ACTIVESET_FUZZ_ARRAY_BENCH_HPP
#define ACTIVESET_FUZZ_ARRAY_BENCH_HPP

#include "bytes.hpp"

namespace activeset::fuzz {

/// Makes two arrays and reads, copies, transposes, multiplies and reshapes them.
void tryArrays(Bytes& bytes);

}  // namespace activeset::fuzz

#endif
