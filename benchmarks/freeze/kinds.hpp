// Random problems of every kind that a solver can stumble over, each made from a seed.
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
    std::size_t count;  ///< problems of it in a freeze
    Program (*make)(RandomNumbers& random);
};

/// In the order of a freeze.
[[nodiscard]] std::span<const Kind> kinds();

/// Problem `seed` of a kind.
[[nodiscard]] Program problemOf(const Kind& kind, std::uint64_t seed);

}  // namespace activeset::bench

#endif
