// A problem of the front end that owns its data.
#ifndef ACTIVESET_BENCHMARKS_PROGRAM_HPP
#define ACTIVESET_BENCHMARKS_PROGRAM_HPP

#include <cstddef>
#include <string>
#include <vector>

#include "activeset/qp.hpp"
#include "benchmarks/families.hpp"

namespace activeset::bench {

/// Dense and column-major. Empty parts are absent; absent sides are infinite.
struct Program {
    std::size_t n = 0;
    std::size_t m = 0;
    std::vector<double> H{};
    std::vector<double> c{};
    std::vector<double> A{};
    std::vector<double> rowLower{};
    std::vector<double> rowUpper{};
    std::vector<double> lower{};
    std::vector<double> upper{};
    std::vector<double> start{};
    double constant = 0.0;

    /// Valid while this object and the memory of its vectors exist.
    [[nodiscard]] activeset::Problem view() const;
};

/// The problem for the front end, inequalities before equalities.
[[nodiscard]] Program programOf(const Problem& problem);

/// @raises io::ReadError
[[nodiscard]] Program programOfFile(const std::string& path);

}  // namespace activeset::bench

#endif
