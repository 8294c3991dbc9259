// A ratio test for each number, in both directions.
#include "activeset/ranges.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "frontend/parametric/implicit.hpp"
#include "host/blas.hpp"
#include "host/floating_point.hpp"

namespace activeset {

namespace {

using frontend::Dense;
using frontend::Hold;
using frontend::Optimum;
using frontend::Triple;
using frontend::Vector;

constexpr double RangeRounding = 1e-10;  // of the terms that a value is the sum of

// The steps t, from below 0 to above, for which all of many linear functions stay at least 0.
struct Steps {
    double least = -Infinity;
    double most = Infinity;

    void keep(double value, double rate, double size, double sizeOfRate) {
        if (!(std::abs(rate) > RangeRounding * sizeOfRate)) {
            return;
        }
        const double root = value <= RangeRounding * size ? 0.0 : -value / rate;
        (rate > 0.0 ? least : most) = rate > 0.0 ? std::max(least, root) : std::min(most, root);
    }
    void stay() { least = most = 0.0; }
};

// Moves one number after the other and sees what the solution does.
class Mover {
public:
    explicit Mover(Optimum optimum)
        : implicit_(std::move(optimum)),
          optimum_(implicit_.optimum()),
          rowSizes_(optimum_.rowSizes),
          x_(frontend::largestMagnitude(optimum_.point.x)),
          gradient_(optimum_.sizeOfGradient()) {
        for (double& size : rowSizes_) {
            size = size > 0.0 ? size : 1.0;
        }
        for (std::size_t j = 0; j < optimum_.data.n && optimum_.data.quadratic; ++j) {
            curvature_ = std::max(curvature_, optimum_.data.columnOfH(j)[j]);
        }
    }

    enum class Number { Cost, Row, Bound };
    /// The steps of all numbers of a kind, and what the objective gains per unit: `slope` and
    /// `curvature` of the objective over the step. Of sides that are not held nothing is computed.
    struct Moves {
        std::vector<Steps> steps;
        Vector slope;
        Vector curvature;
    };
    [[nodiscard]] Moves movesOf(Number number) const;

private:
    [[nodiscard]] std::vector<std::size_t> placesOf(Number number) const;
    [[nodiscard]] bool isConsistent(Number number,
                                    std::size_t place,
                                    const Triple& moved,
                                    std::size_t k,
                                    const double* rowRates) const;
    [[nodiscard]] Steps stepsOf(Number number,
                                std::size_t place,
                                const Triple& moved,
                                std::size_t k,
                                const double* rowRates) const;

    frontend::Implicit implicit_;
    const Optimum& optimum_;
    Vector rowSizes_;
    double x_;
    double gradient_;
    double curvature_ = 0.0;  // largest diagonal entry of H
};

std::vector<std::size_t> Mover::placesOf(Number number) const {
    std::vector<std::size_t> places;
    const std::vector<Hold>& holds = number == Number::Row ? optimum_.rows : optimum_.bounds;
    for (std::size_t k = 0; k < holds.size(); ++k) {
        if (number == Number::Cost || frontend::isHeld(holds[k])) {
            places.push_back(k);
        }
    }
    return places;
}

// In blocks, so that memory stays O(n + m) times their width.
// NOLINTNEXTLINE(readability-function-cognitive-complexity): three kinds in turn
Mover::Moves Mover::movesOf(Number number) const {
    constexpr std::size_t Width = 64;
    const std::size_t n = optimum_.data.n;
    const std::size_t m = optimum_.data.m;
    const std::size_t count = number == Number::Row ? m : n;
    Moves moves{std::vector<Steps>(count), Vector(count, 0.0), Vector(count, 0.0)};
    const std::vector<std::size_t> places = placesOf(number);
    for (std::size_t first = 0; first < places.size(); first += Width) {
        const std::size_t width = std::min(Width, places.size() - first);
        Triple moved(n, m, width);
        Dense& units = number == Number::Cost ? moved.x : number == Number::Row ? moved.y : moved.z;
        for (std::size_t k = 0; k < width; ++k) {
            units(places[first + k], k) = number == Number::Cost ? -1.0 : 1.0;
        }
        implicit_.solve(moved);
        Dense rowRates(m, width);
        if (m * n != 0) {
            blas::gemm(Op::None, Op::None, 1.0, ConstBlock(optimum_.data.A.data(), m, n),
                       ConstBlock(moved.x.values.data(), n, width), 0.0,
                       Block(rowRates.values.data(), m, width));
        }
        for (std::size_t k = 0; k < width; ++k) {
            const std::size_t place = places[first + k];
            moves.steps[place] = stepsOf(number, place, moved, k, rowRates.column(k));
            const frontend::Point& at = optimum_.point;
            moves.slope[place] = number == Number::Cost  ? at.x[place]
                                 : number == Number::Row ? -at.y[place]
                                                         : -at.z[place];
            moves.curvature[place] = number == Number::Cost  ? moved.x(place, k)
                                     : number == Number::Row ? -moved.y(place, k)
                                                             : -moved.z(place, k);
        }
    }
    return moves;
}

// Whether the change solves its equations, which the generalised inverse does not promise.
bool Mover::isConsistent(Number number,
                         std::size_t place,
                         const Triple& moved,
                         std::size_t k,
                         const double* rowRates) const {
    constexpr double RateResidual = 1e-8;
    const frontend::ProblemData& data = optimum_.data;
    if (implicit_.isRegular()) {
        return true;
    }
    for (std::size_t i = 0; i < data.m; ++i) {
        const double expected = number == Number::Row && i == place ? 1.0 : 0.0;
        if (frontend::isHeld(optimum_.rows[i]) &&
            std::abs(rowRates[i] - expected) >
                RateResidual * std::max(1.0, std::abs(rowRates[i]))) {
            return false;
        }
    }
    for (const std::size_t j : optimum_.freeVariables()) {
        double sum = number == Number::Cost && j == place ? 1.0 : 0.0;
        double size = 1.0;
        for (std::size_t i = 0; i < data.n && data.quadratic; ++i) {
            sum += data.columnOfH(j)[i] * moved.x(i, k);
            size += std::abs(data.columnOfH(j)[i] * moved.x(i, k));
        }
        for (std::size_t i = 0; i < data.m; ++i) {
            sum += data.columnOfA(j)[i] * moved.y(i, k);
            size += std::abs(data.columnOfA(j)[i] * moved.y(i, k));
        }
        if (std::abs(sum) > RateResidual * size) {
            return false;
        }
    }
    return true;
}

// NOLINTNEXTLINE(readability-function-cognitive-complexity): one ratio test
Steps Mover::stepsOf(Number number,
                     std::size_t place,
                     const Triple& moved,
                     std::size_t k,
                     const double* rowRates) const {
    const frontend::ProblemData& data = optimum_.data;
    const frontend::Point& at = optimum_.point;
    Steps steps;
    if (!isConsistent(number, place, moved, k, rowRates)) {
        steps.stay();
        return steps;
    }
    // At least what one unit makes by itself: what is below rounding of that is 0.
    const double unit = number == Number::Row ? 1.0 / rowSizes_[place] : 1.0;
    double dx = number != Number::Cost ? unit : curvature_ > 0.0 ? 1.0 / curvature_ : 0.0;
    double dz = number == Number::Cost ? 1.0 : curvature_ * unit;
    for (std::size_t j = 0; j < data.n; ++j) {
        dx = std::max(dx, std::abs(moved.x(j, k)));
        dz = std::max(dz, std::abs(moved.z(j, k)));
    }
    for (std::size_t i = 0; i < data.m; ++i) {
        dz = std::max(dz, rowSizes_[i] * std::abs(moved.y(i, k)));
    }
    const auto look = [&](Hold hold, bool isMoved, double multiplier, double multiplierRate,
                          double scale, double value, double rate, double lower, double upper) {
        if (frontend::isHeld(hold) && !frontend::isEquality(hold)) {
            const double sign = frontend::isAtLower(hold) ? -1.0 : 1.0;
            steps.keep(sign * multiplier, sign * multiplierRate, gradient_ / scale, dz / scale);
        }
        if (frontend::isEquality(hold) || (frontend::isHeld(hold) && !isMoved)) {
            return;
        }
        // Of a side that moves, the other one stays.
        const bool watchesLower = !frontend::isHeld(hold) || !frontend::isAtLower(hold);
        const bool watchesUpper = !frontend::isHeld(hold) || frontend::isAtLower(hold);
        const double size = std::max(scale * x_, std::abs(value));
        if (std::isfinite(lower) && watchesLower) {
            steps.keep(value - lower, rate, size, scale * dx);
        }
        if (std::isfinite(upper) && watchesUpper) {
            steps.keep(upper - value, -rate, size, scale * dx);
        }
    };
    for (std::size_t i = 0; i < data.m; ++i) {
        look(optimum_.rows[i], number == Number::Row && i == place, at.y[i], moved.y(i, k),
             rowSizes_[i], optimum_.rowValues[i], rowRates[i], data.rowLower[i], data.rowUpper[i]);
    }
    for (std::size_t j = 0; j < data.n; ++j) {
        look(optimum_.bounds[j], number == Number::Bound && j == place, at.z[j], moved.z(j, k), 1.0,
             at.x[j], moved.x(j, k), data.lower[j], data.upper[j]);
    }
    return steps;
}

// slope·t + ½·curvature·t², at infinite t its limit.
double gain(double t, double slope, double curvature) {
    if (std::isfinite(t)) {
        return t * (slope + 0.5 * t * curvature);
    }
    return curvature != 0.0 ? std::copysign(Infinity, curvature)
           : slope != 0.0   ? std::copysign(Infinity, slope * t)
                            : 0.0;
}

Range rangeOf(double value, double objective, const Mover::Moves& moves, std::size_t k) {
    const Steps& steps = moves.steps[k];
    return {value,
            value + steps.least,
            value + steps.most,
            objective + gain(steps.least, moves.slope[k], moves.curvature[k]),
            objective + gain(steps.most, moves.slope[k], moves.curvature[k]),
            steps.least == 0.0 || steps.most == 0.0};
}

// A side that is not held may move away, and up to where it would be.
Range idle(double side, double value, double objective, bool isLower) {
    const double near = isLower ? std::max(value, side) : std::min(value, side);
    Range range{side, near, near, objective, objective, near == side};
    (isLower ? range.least : range.most) = isLower ? -Infinity : Infinity;
    return range;
}

void sidesInto(std::vector<Range>& lower,
               std::vector<Range>& upper,
               const std::vector<Hold>& holds,
               const Vector& lowerSides,
               const Vector& upperSides,
               const Vector& values,
               double objective,
               const Mover::Moves& moves) {
    for (std::size_t k = 0; k < holds.size(); ++k) {
        const Hold hold = holds[k];
        const bool isBoth = frontend::isEquality(hold);
        const bool isLower = frontend::isHeld(hold) && (isBoth || frontend::isAtLower(hold));
        const bool isUpper = frontend::isHeld(hold) && (isBoth || !frontend::isAtLower(hold));
        lower.push_back(isLower ? rangeOf(lowerSides[k], objective, moves, k)
                                : idle(lowerSides[k], values[k], objective, true));
        upper.push_back(isUpper ? rangeOf(upperSides[k], objective, moves, k)
                                : idle(upperSides[k], values[k], objective, false));
    }
}

}  // namespace

Ranges ranges(const Result& result, const Problem& problem) {
    const FloatingPointGuard environment;
    Optimum optimum(result, problem, "ranges");
    const frontend::ProblemData data = optimum.data;
    const std::vector<Hold> rows = optimum.rows;
    const std::vector<Hold> bounds = optimum.bounds;
    const Vector rowValues = optimum.rowValues;
    Ranges all;
    all.weakRows = optimum.weakRows;
    all.weakBounds = optimum.weakBounds;
    const Mover mover(std::move(optimum));
    const Mover::Moves costs = mover.movesOf(Mover::Number::Cost);
    for (std::size_t j = 0; j < data.n; ++j) {
        all.c.push_back(rangeOf(data.c[j], result.objective, costs, j));
    }
    sidesInto(all.rowLower, all.rowUpper, rows, data.rowLower, data.rowUpper, rowValues,
              result.objective, mover.movesOf(Mover::Number::Row));
    sidesInto(all.lower, all.upper, bounds, data.lower, data.upper, result.x, result.objective,
              mover.movesOf(Mover::Number::Bound));
    return all;
}

}  // namespace activeset
