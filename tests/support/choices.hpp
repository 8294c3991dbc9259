// The source of a generator's decisions: seeded numbers, rapidcheck, or the bytes of a fuzzer. So
// one generator serves all three. Small choices give simple problems, so shrinking simplifies.
#ifndef ACTIVESET_TESTS_SUPPORT_CHOICES_HPP
#define ACTIVESET_TESTS_SUPPORT_CHOICES_HPP

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <random>
#include <vector>

namespace activeset::test {

using Numbers = std::vector<double>;

class Choices {
public:
    Choices() = default;
    Choices(const Choices&) = delete;
    Choices(Choices&&) = delete;
    Choices& operator=(const Choices&) = delete;
    Choices& operator=(Choices&&) = delete;
    virtual ~Choices() = default;

    /// A number from 0 to `last`.
    virtual std::size_t upTo(std::size_t last) = 0;

    std::size_t between(std::size_t low, std::size_t high) { return low + upTo(high - low); }
    bool oneIn(std::size_t count) { return upTo(count - 1) == count - 1; }
    /// One of 0, 1, −1, 2, −2, … of magnitude up to `reach`.
    virtual double integer(std::size_t reach) {
        const std::size_t choice = upTo(2 * reach);
        const auto magnitude = static_cast<double>((choice + 1) / 2);
        return choice % 2 == 1 ? magnitude : -magnitude;
    }
    Numbers integers(std::size_t count, std::size_t reach) {
        Numbers result(count);
        std::generate(result.begin(), result.end(), [&] { return integer(reach); });
        return result;
    }
    double powerOfTwo(std::size_t reach) { return std::exp2(integer(reach)); }
    /// One of the values.
    template <class Values>
    auto of(const Values& values) {
        return values[upTo(std::size(values) - 1)];
    }
};

class SeededChoices : public Choices {
public:
    explicit SeededChoices(std::uint64_t seed) : bits_(seed) {}
    std::size_t upTo(std::size_t last) override { return bits_() % (last + 1); }

protected:
    std::mt19937_64 bits_;
};

}  // namespace activeset::test

#endif
