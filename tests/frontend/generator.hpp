// Random problems of every kind, of any size.
#ifndef ACTIVESET_TESTS_FRONTEND_GENERATOR_HPP
#define ACTIVESET_TESTS_FRONTEND_GENERATOR_HPP

#include <algorithm>
#include <cmath>
#include <random>

#include "support/choices.hpp"
#include "support/exact/judge.hpp"
#include "support/sample.hpp"

namespace activeset::test {

/// Half of them with small integers, so that constraints tie and depend on one another. With
/// `anything`, also singular and indefinite H and constraints that contradict one another.
inline Sample randomSample(unsigned seed, std::size_t largest, bool anything) {
    std::mt19937_64 bits(seed);
    std::normal_distribution<double> normal;
    const auto pick = [&](int low, int high) {
        return low + static_cast<int>(bits() % static_cast<unsigned>(high - low + 1));
    };
    const bool integral = pick(0, 1) == 0;
    const auto number = [&] { return integral ? pick(-3, 3) : normal(bits); };
    const auto room = [&] { return integral ? pick(0, 2) : std::abs(normal(bits)); };
    Sample s;
    s.n = static_cast<std::size_t>(pick(1, static_cast<int>(largest)));
    s.m = static_cast<std::size_t>(pick(0, static_cast<int>(2 * largest)));
    const std::size_t rank = !anything || pick(0, 2) == 0
                                 ? s.n
                                 : static_cast<std::size_t>(pick(0, static_cast<int>(s.n)));
    Numbers root(s.n * rank), inside(s.n);
    for (Numbers* values : {&root, &s.c, &inside, &s.A}) {
        values->resize(values == &s.c ? s.n : values == &s.A ? s.n * s.m : values->size());
        std::generate(values->begin(), values->end(), number);
    }
    s.H.assign(s.n * s.n, 0.0);
    for (std::size_t k = 0; k < s.n * s.n * rank; ++k) {
        const std::size_t i = k / rank % s.n, j = k / rank / s.n;
        s.H[j * s.n + i] += root[k % rank * s.n + i] * root[k % rank * s.n + j];
    }
    for (std::size_t j = 0; j < s.n; ++j) {
        s.H[j * (s.n + 1)] +=
            anything ? (pick(0, 30 * static_cast<int>(s.n)) == 0 ? -5.0 : 0.0) : 1.0;
    }
    const bool contradicts = anything && pick(0, 5) == 0;
    for (std::size_t i = 0; i < s.m; ++i) {
        const std::size_t source = i == 0 || pick(0, 3) != 0 ? i : bits() % i;
        double value = 0.0;
        for (std::size_t j = 0; j < s.n; ++j) {
            s.A[j * s.m + i] = anything ? s.entryOfA(source, j) : s.entryOfA(i, j);
            value += s.entryOfA(i, j) * inside[j];
        }
        value += contradicts && pick(0, static_cast<int>(s.m)) == 0 ? 3.0 : 0.0;
        const int kind = pick(anything ? 0 : 1, 5);
        s.rowLower.push_back(kind == 0 ? value : kind >= 4 ? value - room() : -Infinity);
        s.rowUpper.push_back(kind == 0 ? value : kind <= 4 ? value + room() : Infinity);
    }
    for (std::size_t j = 0; j < s.n; ++j) {
        const int kind = pick(0, 5);
        s.lower.push_back(kind == 0 ? inside[j] : kind <= 2 ? inside[j] - room() : -Infinity);
        s.upper.push_back(kind == 0                ? inside[j]
                          : kind == 1 || kind == 3 ? inside[j] + room()
                                                   : Infinity);
        s.start.push_back(number());
    }
    return s;
}

}  // namespace activeset::test

#endif
