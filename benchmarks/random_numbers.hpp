// Random numbers that are the same on every machine, independent of its standard library.
#ifndef ACTIVESET_BENCHMARKS_RANDOM_NUMBERS_HPP
#define ACTIVESET_BENCHMARKS_RANDOM_NUMBERS_HPP

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace activeset::bench {

/// The generator splitmix64.
class RandomNumbers {
public:
    explicit RandomNumbers(std::uint64_t seed) : state_(seed) {}

    /// Uniform in [low, high).
    double operator()(double low, double high) {
        return low + (high - low) * (static_cast<double>(bits() >> 11U) * 0x1p-53);
    }
    /// Uniform with mean 0 and variance 1.
    double spread() {
        constexpr double HalfWidth = 1.7320508075688772;  // √3
        return (*this)(-HalfWidth, HalfWidth);
    }
    std::vector<double> spread(std::size_t count) {
        std::vector<double> result(count);
        std::ranges::generate(result, [this] { return spread(); });
        return result;
    }
    /// Mean 0, variance 1, and normal up to about three standard deviations: a sum of twelve.
    double normal() {
        double sum = -6.0;
        for (int k = 0; k < 12; ++k) {
            sum += (*this)(0.0, 1.0);
        }
        return sum;
    }
    /// An integer from low to high, both included.
    std::size_t pick(std::size_t low, std::size_t high) {
        return low + static_cast<std::size_t>(bits() % (high - low + 1));
    }
    bool chance(double probability) { return (*this)(0.0, 1.0) < probability; }

private:
    std::uint64_t bits() {
        state_ += 0x9e3779b97f4a7c15U;
        std::uint64_t bits = state_;
        bits = (bits ^ (bits >> 30U)) * 0xbf58476d1ce4e5b9U;
        bits = (bits ^ (bits >> 27U)) * 0x94d049bb133111ebU;
        return bits ^ (bits >> 31U);
    }

    std::uint64_t state_;
};

}  // namespace activeset::bench

#endif
