// Random problems of all kinds that may be difficult for a solver, each made from a seed.
#ifndef ACTIVESET_BENCHMARKS_FREEZE_KINDS_HPP
#define ACTIVESET_BENCHMARKS_FREEZE_KINDS_HPP

#include <cstddef>
#include <cstdint>
#include <span>

#include "benchmarks/program.hpp"
#include "benchmarks/random_numbers.hpp"

namespace activeset::bench {

struct Kind {
    const char* name;
    std::size_t count;  ///< number of its problems in a freeze
    Program (*make)(RandomNumbers& random);
};

/// All kinds, in the order of a freeze.
[[nodiscard]] std::span<const Kind> kinds();

/// Problem number `seed` of a kind.
[[nodiscard]] Program problemOf(const Kind& kind, std::uint64_t seed);

}  // namespace activeset::bench

#endif
