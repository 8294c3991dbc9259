// Makes the problems of each style: see styles.hpp.
#ifndef ACTIVESET_TESTS_SUPPORT_STYLE_BUILDER_HPP
#define ACTIVESET_TESTS_SUPPORT_STYLE_BUILDER_HPP

#include <array>
#include <cmath>

#include "support/problem_builder.hpp"

namespace activeset::test {

class StyleBuilder : public ProblemBuilder {
public:
    using ProblemBuilder::ProblemBuilder;

    void integers() {
        addSquares(pick_.upTo(n_), 1.0);
        if (pick_.oneIn(16)) {
            const std::size_t j = pick_.upTo(n_ - 1);
            H_[j][j] -= 3.0;
        }
        const bool isWild = pick_.oneIn(8);
        for (std::size_t k = pick_.upTo(n_ + 2); k > 0; --k) {
            addRow(anyRow(), isWild);
        }
        addBounds(isWild);
    }
    void degenerate() {
        addSquares(pick_.upTo(n_), 1.0);
        for (std::size_t k = pick_.upTo(n_ + 2); k > 0; --k) {
            Numbers row = anyRow();
            if (!rows_.empty() && pick_.oneIn(2)) {
                const Numbers& other = pick_.of(rows_);
                const double factor = pick_.integer(2);
                for (std::size_t j = 0; j < n_; ++j) {
                    row[j] = pick_.oneIn(8) ? row[j] : row[j] + factor * other[j];
                }
            }
            addRow(row, false, 0);
        }
        addBounds(false, 0);
        start_ = pick_.oneIn(2) ? inside_ : start_;
    }
    void nearParallel() {
        addSquares(pick_.upTo(n_), 1.0);
        addRow(anyRow());
        for (std::size_t k = pick_.upTo(n_ + 1); k > 0; --k) {
            Numbers row = pick_.oneIn(4) ? anyRow() : pick_.of(rows_);
            row[pick_.upTo(n_ - 1)] += std::exp2(-static_cast<double>(pick_.between(6, 30)));
            addRow(row);
        }
        addBounds();
    }
    /// Through one point, or nearly so; mostly opposite to one another but for 2⁻¹⁰ to 2⁻⁴³.
    void wedges() {
        addSquares(pick_.upTo(n_), 1.0);
        for (std::size_t j = 0; j < n_ && !pick_.oneIn(4); ++j) {
            H_[j][j] += 1.0;
        }
        add(c_, pick_.of(std::array{0.0, 9.0, 99.0, 999.0}), c_);
        const bool areRounded = pick_.oneIn(2);
        const double e = std::exp2(-static_cast<double>(pick_.between(10, 43)));
        Numbers first = areRounded ? pick_.integers(n_, 1U << 26U) : anyRow();
        for (double& entry : first) {
            entry = areRounded ? std::ldexp(entry, -24) : entry;
        }
        addSide(first, 0.0);
        for (std::size_t k = pick_.between(1, 3); k > 0; --k) {
            Numbers row(n_, 0.0);
            add(row, pick_.oneIn(4) ? 1.0 : -1.0, pick_.oneIn(2) ? first : pick_.of(rows_));
            add(row, e, anyRow());
            addSide(row, pick_.oneIn(4) ? e * static_cast<double>(pick_.upTo(3)) : 0.0);
        }
        for (std::size_t k = pick_.upTo(n_); k > 0; --k) {
            addSide(anyRow(), static_cast<double>(pick_.upTo(2)));
        }
        if (pick_.oneIn(4)) {
            addBounds();
        }
    }
    /// Bounds or equations fix some variables, which multiply other variables.
    void products() {
        const std::size_t fixed = pick_.between(1, std::max<std::size_t>(1, n_ - 1));
        addSquares(pick_.upTo(n_), 1.0, fixed);
        addBounds();
        for (std::size_t i = 0; i < fixed; ++i) {
            for (std::size_t j = 0; j < n_; ++j) {
                const double entry = pick_.integer(3);
                H_[i][j] += entry;
                H_[j][i] += entry;
            }
            if (pick_.oneIn(2)) {
                lower_[i] = upper_[i] = inside_[i];
                continue;
            }
            Numbers row(n_, 0.0);
            row[i] = static_cast<double>(pick_.between(1, 3));
            for (std::size_t k = 0; k < i; ++k) {
                row[k] = pick_.integer(2);
            }
            addEquality(row);
        }
        for (std::size_t k = pick_.upTo(3); k > 0; --k) {
            addRow(anyRow());
        }
    }
    void lowRank() {
        std::vector<Numbers> combinations;
        for (std::size_t k = pick_.between(1, std::max<std::size_t>(1, n_ - 1)); k > 0; --k) {
            combinations.push_back(pick_.integers(n_, 4));
        }
        const auto combined = [&](std::size_t reach) {
            Numbers row(n_, 0.0);
            for (const Numbers& part : combinations) {
                add(row, pick_.integer(reach), part);
            }
            return row;
        };
        for (std::size_t k = pick_.upTo(combinations.size()); k > 0; --k) {
            addSquare(combined(3), 1.0);
        }
        c_ = combined(9);
        for (std::size_t k = pick_.upTo(n_ + 2); k > 0; --k) {
            addRow(combined(3));
        }
        if (pick_.oneIn(3)) {
            addBounds();
        }
    }
    void farStart() {
        switch (pick_.upTo(3)) {
            case 0:
                integers();
                break;
            case 1:
                degenerate();
                break;
            case 2:
                lowRank();
                break;
            default:
                products();
        }
        const double size = pick_.oneIn(2) ? 1e14 : 1e16;
        for (double& entry : start_) {
            entry *= pick_.oneIn(3) ? 1.0 : size;
        }
    }
    void tinyCosts() {
        integers();
        for (std::size_t j = 0; j < n_; ++j) {
            if (pick_.oneIn(2)) {
                const double factor = pick_.oneIn(2) ? 1e-9 : 1e-12;
                c_[j] *= factor;
                for (std::size_t i = 0; i < n_; ++i) {
                    H_[i][j] = H_[j][i] = 0.0;
                }
                H_[j][j] = pick_.oneIn(3) ? factor * 1e-9 : 0.0;
                lower_[j] = pick_.oneIn(4) ? 0.0 : -1e12;
                upper_[j] = 1e12;
            }
        }
    }
    void largeBounds() { boundBy(pick_.of(std::array{1e7, 1e8, 1e9})); }
    void hugeBounds() { boundBy(1e12); }
    void boundBy(double size) {
        integers();
        for (std::size_t j = 0; j < n_; ++j) {
            lower_[j] = std::max(lower_[j], -size);
            upper_[j] = std::min(upper_[j], size);
        }
    }
    void nearSingular() {
        addSquares(pick_.upTo(n_), 1.0);
        addSquares(n_, std::exp2(-static_cast<double>(pick_.between(25, 45))));
        for (std::size_t k = pick_.upTo(n_ + 2); k > 0; --k) {
            addRow(anyRow());
        }
        addBounds();
    }
    /// The weighted sum of some rows has an upper side, and another row contradicts it.
    void infeasible() {
        integers();
        Numbers sum(n_, 0.0);
        double side = 0.0;
        for (std::size_t k = pick_.between(1, 3); k > 0; --k) {
            addRow(anyRow());
            const double weight = static_cast<double>(pick_.between(1, 3));
            const bool isUpper = rowUpper_.back() < Infinity;
            add(sum, isUpper ? weight : -weight, rows_.back());
            side += isUpper ? weight * rowUpper_.back() : -weight * rowLower_.back();
        }
        addSided(sum, side + (pick_.oneIn(4) ? std::exp2(-8.0) : 1.0), Infinity);
    }
    /// All rows are multiples of one row.
    void contradictions() {
        addSquares(pick_.upTo(n_), 1.0);
        const Numbers row = anyRow();
        const double side = pick_.integer(3) + std::pow(10.0, -static_cast<double>(pick_.upTo(8)));
        const double factor = pick_.of(std::array{-2.0, 1.0, 4.0});
        Numbers multiple(n_, 0.0);
        add(multiple, factor, row);
        const bool areEquations = pick_.oneIn(2);
        const double below = std::floor(side - 1e-9);
        addSided(row, areEquations ? below : -Infinity, below);
        const bool isLower = factor > 0.0;
        addSided(multiple, areEquations || isLower ? factor * side : -Infinity,
                 areEquations || !isLower ? factor * side : Infinity);
        for (std::size_t k = pick_.upTo(2); k > 0; --k) {
            addRow(anyRow());
        }
        if (pick_.oneIn(2)) {
            addBounds();
        }
        const double size = std::pow(10.0, static_cast<double>(pick_.upTo(9)));
        for (double& entry : start_) {
            entry *= size;
        }
    }
    void unbounded() {
        Numbers ray = pick_.integers(n_, 2);
        ray[pick_.upTo(n_ - 1)] = 1.0;
        for (std::size_t k = pick_.upTo(n_); k > 0; --k) {
            addSquare(orthogonal(ray), 1.0);
        }
        for (std::size_t k = pick_.upTo(n_ + 2); k > 0; --k) {
            addRow(pick_.oneIn(3) ? orthogonal(ray) : anyRow());
            openAlong(dot(rows_.back(), ray), rowLower_.back(), rowUpper_.back());
        }
        addBounds();
        for (std::size_t j = 0; j < n_; ++j) {
            openAlong(ray[j], lower_[j], upper_[j]);
        }
        if (pick_.oneIn(3)) {  // convex only on an equation
            const Numbers row = orthogonal(ray);
            const Numbers other = anyRow();
            addEquality(row);
            for (std::size_t i = 0; i < n_; ++i) {
                for (std::size_t j = 0; j < n_; ++j) {
                    H_[i][j] += row[i] * other[j] + other[i] * row[j];
                }
            }
        }
        if (dot(c_, ray) > 0.0) {
            for (double& entry : c_) {
                entry = -entry;
            }
        }
    }

private:
    /// An upper one that leaves the point inside such room.
    void addSide(const Numbers& row, double room) {
        addSided(row, -Infinity, dot(row, inside_) + room);
    }
};

}  // namespace activeset::test

#endif
