// Random problems of every kind, of any size.
#ifndef ACTIVESET_TESTS_FRONTEND_GENERATOR_HPP
#define ACTIVESET_TESTS_FRONTEND_GENERATOR_HPP

#include <algorithm>
#include <cmath>
#include <random>

#include "support/exact/judge.hpp"
#include "support/problem_builder.hpp"

namespace activeset::test {

/// Normally distributed numbers instead of integers.
class RealChoices : public SeededChoices {
public:
    using SeededChoices::SeededChoices;
    double integer(std::size_t) override { return normal_(bits_); }

private:
    std::normal_distribution<double> normal_;
};

class AnyKind : public ProblemBuilder {
public:
    AnyKind(Choices& choices, std::size_t largest, bool anything)
        : ProblemBuilder(choices, largest) {
        addSquares(anything ? pick_.upTo(n_) : n_, 1.0);
        for (std::size_t j = 0; j < n_; ++j) {
            H_[j][j] += !anything ? 1.0 : pick_.oneIn(30 * n_ + 1) ? -5.0 : 0.0;
        }
        const bool contradicts = anything && pick_.oneIn(6);
        for (std::size_t left = pick_.upTo(2 * largest); left > 0; --left) {
            const bool isRepeated = anything && !rows_.empty() && pick_.oneIn(4);
            const Numbers row = isRepeated ? pick_.of(rows_) : anyRow();
            const bool isEquality = anything && pick_.oneIn(6);
            const auto [lower, upper] =
                sides(dot(row, inside_), contradicts && pick_.oneIn(left + 1), isEquality ? 0 : 2,
                      isEquality ? 0 : pick_.upTo(2));
            addSided(row, lower, upper);
        }
        addBounds(false, 2);
        for (std::size_t j = 0; j < n_; ++j) {
            if (pick_.oneIn(6)) {
                lower_[j] = upper_[j] = inside_[j];
            }
        }
    }
};

/// Half of the problems consist of small integers, so that constraints tie and depend on one
/// another. With `anything`, H may also be singular or indefinite and constraints may contradict
/// one another.
inline Sample randomSample(unsigned seed, std::size_t largest, bool anything) {
    RealChoices reals(seed);
    SeededChoices integers(seed);
    Choices& choices = reals.oneIn(2) ? reals : integers;
    return AnyKind(choices, largest, anything).sample();
}

}  // namespace activeset::test

#endif
