// Counts working sets by their hashes, and minima at one point.
#include "frontend/core/cycle_detector.hpp"

#include <algorithm>
#include <cmath>

namespace activeset::frontend {

namespace {

constexpr int AllowedReturns = 3;    // rounding may bring a set back once or twice
constexpr double SamePoint = 1e-12;  // relative to the entry, or to 1 if that is larger

// Does not depend on the order of the members.
std::uint64_t hashOf(const std::size_t* members, std::size_t count) {
    std::uint64_t hash = 0;
    for (std::size_t k = 0; k < count; ++k) {
        std::uint64_t word = members[k] + 0x9E3779B97F4A7C15U;
        word = (word ^ (word >> 30U)) * 0xBF58476D1CE4E5B9U;
        word = (word ^ (word >> 27U)) * 0x94D049BB133111EBU;
        hash += word ^ (word >> 31U);
    }
    return hash;
}

}  // namespace

bool CycleDetector::hasReturned(const std::size_t* members,
                                std::size_t count,
                                const double* point,
                                std::size_t n) {
    return ++seen_[hashOf(members, count)] > AllowedReturns || hasStalled(point, n);
}

bool CycleDetector::hasStalled(const double* point, std::size_t n) {
    bool isSame = n == stalledAt_.size();
    for (std::size_t j = 0; j < n && isSame; ++j) {
        const double scale = std::max(1.0, std::abs(stalledAt_[j]));
        isSame = std::abs(point[j] - stalledAt_[j]) <= SamePoint * scale;
    }
    if (!isSame) {
        stalledAt_.assign(point, point + n);
        minima_ = 0;
    }
    return ++minima_ > 20 + 2 * n;
}

}  // namespace activeset::frontend
