// Builds a small problem of integers around a feasible point.
#ifndef ACTIVESET_TESTS_SUPPORT_PROBLEM_BUILDER_HPP
#define ACTIVESET_TESTS_SUPPORT_PROBLEM_BUILDER_HPP

#include <algorithm>
#include <tuple>
#include <utility>

#include "support/choices.hpp"
#include "support/sample.hpp"

namespace activeset::test {

class ProblemBuilder {
public:
    ProblemBuilder(Choices& choices, std::size_t largest, std::size_t smallest = 1)
        : pick_(choices), n_(choices.between(smallest, largest)), inside_(choices.integers(n_, 3)) {
        c_ = pick_.integers(n_, 9);
        H_.assign(n_, Numbers(n_, 0.0));
        lower_.assign(n_, -Infinity);
        upper_.assign(n_, Infinity);
        start_ = pick_.integers(n_, 6);
    }

    [[nodiscard]] Sample sample() const {
        Sample s;
        s.n = n_;
        s.m = rows_.size();
        for (std::size_t j = 0; j < n_; ++j) {
            for (std::size_t i = 0; i < n_; ++i) {
                s.H.push_back(H_[i][j]);
            }
            for (const Numbers& row : rows_) {
                s.A.push_back(row[j]);
            }
        }
        s.c = c_;
        s.rowLower = rowLower_;
        s.rowUpper = rowUpper_;
        s.lower = lower_;
        s.upper = upper_;
        s.start = start_;
        return s;
    }

protected:
    static void add(Numbers& to, double factor, const Numbers& of) {
        for (std::size_t j = 0; j < to.size(); ++j) {
            to[j] += factor * of[j];
        }
    }
    static double dot(const Numbers& a, const Numbers& b) {
        double sum = 0.0;
        for (std::size_t j = 0; j < a.size(); ++j) {
            sum += a[j] * b[j];
        }
        return sum;
    }
    /// Removes the side that a ray would reach.
    static void openAlong(double slope, double& lower, double& upper) {
        lower = slope < 0.0 ? -Infinity : lower;
        upper = slope > 0.0 ? Infinity : upper;
    }
    /// A row of small integers.
    Numbers anyRow() { return pick_.integers(n_, 3); }
    /// A row orthogonal to a ray.
    Numbers orthogonal(const Numbers& ray) {
        const Numbers a = anyRow();
        const Numbers b = anyRow();
        Numbers row(n_, 0.0);
        add(row, dot(b, ray), a);
        add(row, -dot(a, ray), b);
        return row;
    }
    /// Adds weight·row·rowᵀ to H.
    void addSquare(const Numbers& row, double weight) {
        for (std::size_t i = 0; i < n_; ++i) {
            for (std::size_t j = 0; j < n_; ++j) {
                H_[i][j] += weight * row[i] * row[j];
            }
        }
    }
    /// Adds squares of random rows whose first `without` entries are zero.
    void addSquares(std::size_t count, double weight, std::size_t without = 0) {
        for (; count > 0; --count) {
            Numbers row = anyRow();
            std::fill_n(row.begin(), without, 0.0);
            addSquare(row, weight);
        }
    }
    void addSided(const Numbers& row, double lower, double upper) {
        rows_.push_back(row);
        rowLower_.push_back(lower);
        rowUpper_.push_back(upper);
    }
    void addEquality(const Numbers& row) {
        const double value = dot(row, inside_);
        addSided(row, value, value);
    }
    /// Sides at distances up to `room` from the value at the inside point; with `isWild`, anywhere.
    std::pair<double, double> sides(double value, bool isWild, std::size_t room, std::size_t kind) {
        if (isWild) {
            value += pick_.integer(5);
        }
        const auto away = [&] { return static_cast<double>(pick_.upTo(room)); };
        return {kind == 0 || kind == 2 ? value - away() : -Infinity,
                kind <= 1 ? value + away() : Infinity};
    }
    void addRow(const Numbers& row, bool isWild = false, std::size_t room = 3) {
        const bool isEquality = pick_.oneIn(6);
        const auto [lower, upper] =
            sides(dot(row, inside_), isWild, isEquality ? 0 : room, isEquality ? 0 : pick_.upTo(2));
        addSided(row, lower, upper);
    }
    void addBounds(bool isWild = false, std::size_t room = 3) {
        for (std::size_t j = 0; j < n_; ++j) {
            std::tie(lower_[j], upper_[j]) = sides(inside_[j], isWild, room, pick_.upTo(4));
        }
    }

    Choices& pick_;
    std::size_t n_;
    Numbers inside_;
    std::vector<Numbers> H_, rows_;
    Numbers c_, rowLower_, rowUpper_, lower_, upper_, start_;
};

}  // namespace activeset::test

#endif
