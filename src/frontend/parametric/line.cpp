// Ratio tests in both directions of the parameter.
#include "frontend/parametric/line.hpp"

#include <algorithm>
#include <cmath>
#include <span>

#include "frontend/algebra/dense.hpp"

namespace activeset::frontend {

namespace {

constexpr double PathRounding = 1e-10;    // of a value or rate, relative to its terms
constexpr double ViolationAtRest = 1e-9;  // relative violation of a constraint that does not move

// y += a·x for value and rate together, column by column, past columns that do not count.
void addProduct(std::span<const double> a, std::size_t rows, const Moving& x, Moving& y) {
    for (std::size_t j = 0; j < x.value.size() && !a.empty(); ++j) {
        const double value = x.value[j];
        const double rate = x.rate[j];
        if (value == 0.0 && rate == 0.0) {
            continue;
        }
        const double* column = a.data() + j * rows;
        double* values = y.value.data();
        double* rates = y.rate.data();
        for (std::size_t i = 0; i < rows; ++i) {
            values[i] += value * column[i];
            rates[i] += rate * column[i];
        }
    }
}

// y += aᵀ·x
void addTransposedProduct(std::span<const double> a, std::size_t rows, const Moving& x, Moving& y) {
    for (std::size_t j = 0; j < y.value.size() && rows != 0; ++j) {
        y.value[j] += dot(a.data() + j * rows, x.value.data(), rows);
        y.rate[j] += dot(a.data() + j * rows, x.rate.data(), rows);
    }
}

double sideOf(Hold hold, double lower, double upper) {
    return isAtLower(hold) ? lower : upper;
}

Moving zeros(std::size_t count) {
    return {Vector(count, 0.0), Vector(count, 0.0)};
}

}  // namespace

Held::Held(const MovingProblem& problem, const WorkingSet& set)
    : rows(problem.data().m, Hold::None), bounds(problem.data().n, Hold::None) {
    const auto hold = [](std::vector<Hold>& holds, const std::vector<std::size_t>& members,
                         Hold side) {
        for (const std::size_t k : members) {
            holds[k] = side;
        }
    };
    hold(rows, set.rowsAtLower, Hold::Lower);
    hold(rows, set.rowsAtUpper, Hold::Upper);
    hold(rows, set.equalities, Hold::EqualUpper);
    hold(bounds, set.atLower, Hold::Lower);
    hold(bounds, set.atUpper, Hold::Upper);
    for (std::size_t j = 0; j < bounds.size(); ++j) {
        bounds[j] = problem.isFixedVariable(j) ? Hold::EqualUpper : bounds[j];
    }
}

WorkingSet Held::workingSet() const {
    WorkingSet set;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (isHeld(rows[i])) {
            (isEquality(rows[i])  ? set.equalities
             : isAtLower(rows[i]) ? set.rowsAtLower
                                  : set.rowsAtUpper)
                .push_back(i);
        }
    }
    for (std::size_t j = 0; j < bounds.size(); ++j) {
        if (isHeld(bounds[j])) {
            (isEquality(bounds[j])  ? set.fixed
             : isAtLower(bounds[j]) ? set.atLower
                                    : set.atUpper)
                .push_back(j);
        }
    }
    return set;
}

std::vector<std::size_t> Held::freeVariables() const {
    std::vector<std::size_t> free;
    for (std::size_t j = 0; j < bounds.size(); ++j) {
        if (!isHeld(bounds[j])) {
            free.push_back(j);
        }
    }
    return free;
}

std::vector<std::size_t> Held::heldRows() const {
    std::vector<std::size_t> held;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (isHeld(rows[i])) {
            held.push_back(i);
        }
    }
    return held;
}

Line::Line(const MovingProblem& problem, const Held& held, double t, const Solve& solve)
    : problem_(&problem),
      t_(t),
      vectors_(problem.at(t)),
      x_(zeros(problem.data().n)),
      y_(zeros(problem.data().m)) {
    const Vectors& rates = problem.rates();
    for (std::size_t j = 0; j < x_.value.size(); ++j) {
        const Hold hold = held.bounds[j];
        if (isHeld(hold)) {
            x_.value[j] = sideOf(hold, vectors_.lower[j], vectors_.upper[j]);
            x_.rate[j] = sideOf(hold, rates.lower[j], rates.upper[j]);
        }
    }
    // The first correction, from zero, gives the solution; the others reduce its rounding.
    constexpr int Corrections = 3;
    constexpr double RefinedResidual = 1e-14;
    for (int k = 0; k <= Corrections; ++k) {
        findMultipliers(held);
        if (k == Corrections || (k > 0 && residual_ <= RefinedResidual)) {
            break;
        }
        correct(held, solve);
    }
    findLimits(held);
}

// One step of iterative refinement: the residuals of gradient and held rows are solved for.
void Line::correct(const Held& held, const Solve& solve) {
    const Vectors& rates = problem_->rates();
    Moving dx = zeros(x_.value.size());
    Moving dy = zeros(y_.value.size());
    for (std::size_t j = 0; j < x_.value.size(); ++j) {
        if (!isHeld(held.bounds[j])) {
            dx.value[j] = -gradient_.value[j];
            dx.rate[j] = -gradient_.rate[j];
        }
    }
    for (std::size_t i = 0; i < y_.value.size(); ++i) {
        const Hold hold = held.rows[i];
        if (isHeld(hold)) {
            dy.value[i] =
                sideOf(hold, vectors_.rowLower[i], vectors_.rowUpper[i]) - rowValues_.value[i];
            dy.rate[i] = sideOf(hold, rates.rowLower[i], rates.rowUpper[i]) - rowValues_.rate[i];
        }
    }
    solve(dx, dy);
    axpy(1.0, dx.value.data(), x_.value.data(), dx.value.size());
    axpy(1.0, dx.rate.data(), x_.rate.data(), dx.rate.size());
    axpy(1.0, dy.value.data(), y_.value.data(), dy.value.size());
    axpy(1.0, dy.rate.data(), y_.rate.data(), dy.rate.size());
}

// H·x, A·x, gradient and z from x and y, and whether what should be zero is.
void Line::findMultipliers(const Held& held) {
    const ProblemData& data = problem_->data();
    const Vectors& rates = problem_->rates();
    curved_ = zeros(data.n);
    rowValues_ = zeros(data.m);
    addProduct(data.H, data.n, x_, curved_);
    addProduct(data.A, data.m, x_, rowValues_);
    gradient_ = zeros(data.n);
    addTransposedProduct(data.A, data.m, y_, gradient_);
    // The terms of H·x, which may cancel: no entry of H is larger than the largest of its diagonal.
    const double sizes[] = {problem_->curvature() * largestMagnitude(x_.value) +
                                largestMagnitude(vectors_.c) + largestMagnitude(gradient_.value),
                            problem_->curvature() * largestMagnitude(x_.rate) +
                                largestMagnitude(rates.c) + largestMagnitude(gradient_.rate)};
    z_ = zeros(data.n);
    residual_ = 0.0;
    for (std::size_t j = 0; j < data.n; ++j) {
        gradient_.value[j] += curved_.value[j] + vectors_.c[j];
        gradient_.rate[j] += curved_.rate[j] + rates.c[j];
        if (isHeld(held.bounds[j])) {
            z_.value[j] = -gradient_.value[j];
            z_.rate[j] = -gradient_.rate[j];
        } else {
            miss(gradient_.value[j], sizes[0]);
            miss(gradient_.rate[j], sizes[1]);
        }
    }
    size_ = std::max(problem_->sizeOfX(vectors_), largestMagnitude(x_.value));
    sizeOfRate_ = std::max(problem_->sizeOfX(rates), largestMagnitude(x_.rate));
    for (std::size_t i = 0; i < data.m; ++i) {
        const Hold hold = held.rows[i];
        if (!isHeld(hold) && !problem_->isFixedRow(i)) {
            continue;
        }
        const double side = sideOf(hold, vectors_.rowLower[i], vectors_.rowUpper[i]);
        const double rate = sideOf(hold, rates.rowLower[i], rates.rowUpper[i]);
        const double scale = problem_->rowSize(i);
        miss(rowValues_.value[i] - side, std::max(std::abs(side), scale * size_));
        miss(rowValues_.rate[i] - rate, std::max(std::abs(rate), scale * sizeOfRate_));
    }
}

// A residual of 0/0 counts as 0.
void Line::miss(double residual, double size) {
    if (residual != 0.0) {
        residual_ = std::max(residual_, std::abs(residual) / size);
    }
}

// value + (t' − t)·rate has to stay at least 0.
void Line::limit(double value, double rate, double size, double sizeOfRate, const Event& event) {
    if (std::abs(rate) <= PathRounding * sizeOfRate) {
        if (value < -ViolationAtRest * size) {
            from_ = Infinity;
        }
        return;
    }
    const double root = std::abs(value) <= PathRounding * size ? t_ : t_ - value / rate;
    if (rate > 0.0) {
        from_ = std::max(from_, root);
        return;
    }
    const double tie = PathRounding * std::max({1.0, std::abs(root), std::abs(to_)});
    if (std::isfinite(to_) && root > to_ + tie) {
        return;
    }
    if (!std::isfinite(to_) || root < to_ - tie) {
        events_.clear();
    }
    to_ = std::min(to_, root);
    events_.push_back(event);
}

void Line::findLimits(const Held& held) {
    const ProblemData& data = problem_->data();
    const Vectors& rates = problem_->rates();
    const double gradient = largestMagnitude(vectors_.c) + largestMagnitude(curved_.value);
    const double gradientRate = largestMagnitude(rates.c) + largestMagnitude(curved_.rate);
    const auto look = [&](std::size_t k, Hold hold, double multiplier, double multiplierRate,
                          double scale, bool isFixed, double value, double rate, double lower,
                          double upper, double lowerRate, double upperRate) {
        if (isHeld(hold)) {
            if (!isEquality(hold)) {
                const double sign = isAtLower(hold) ? -1.0 : 1.0;
                limit(sign * multiplier, sign * multiplierRate, gradient / scale,
                      gradientRate / scale, {k, Hold::None});
            }
            return;
        }
        if (std::isfinite(lower) && !isFixed) {
            limit(value - lower, rate - lowerRate, std::max(std::abs(lower), scale * size_),
                  std::max(std::abs(lowerRate), scale * sizeOfRate_), {k, Hold::Lower});
        }
        if (std::isfinite(upper) && !isFixed) {
            limit(upper - value, upperRate - rate, std::max(std::abs(upper), scale * size_),
                  std::max(std::abs(upperRate), scale * sizeOfRate_), {k, Hold::Upper});
        }
    };
    for (std::size_t i = 0; i < data.m; ++i) {
        const double scale = problem_->rowSize(i);
        look(i, held.rows[i], y_.value[i], y_.rate[i], scale > 0.0 ? scale : 1.0,
             problem_->isFixedRow(i), rowValues_.value[i], rowValues_.rate[i], vectors_.rowLower[i],
             vectors_.rowUpper[i], rates.rowLower[i], rates.rowUpper[i]);
    }
    for (std::size_t j = 0; j < data.n; ++j) {
        look(data.m + j, held.bounds[j], z_.value[j], z_.rate[j], 1.0, problem_->isFixedVariable(j),
             x_.value[j], x_.rate[j], vectors_.lower[j], vectors_.upper[j], rates.lower[j],
             rates.upper[j]);
    }
}

Piece Line::piece(const Held& held, double last) const {
    const Vectors& rates = problem_->rates();
    Piece piece;
    piece.from = t_;
    piece.to = std::min(to_, last);
    piece.workingSet = held.workingSet();
    piece.objective = problem_->data().constant;
    for (std::size_t j = 0; j < x_.value.size(); ++j) {
        const double value = x_.value[j];
        const double rate = x_.rate[j];
        piece.objective += value * (0.5 * curved_.value[j] + vectors_.c[j]);
        piece.slope += rate * (curved_.value[j] + vectors_.c[j]) + value * rates.c[j];
        piece.curvature += rate * (curved_.rate[j] + 2.0 * rates.c[j]);
    }
    piece.x = x_.value;
    piece.y = y_.value;
    piece.z = z_.value;
    piece.dx = x_.rate;
    piece.dy = y_.rate;
    piece.dz = z_.rate;
    return piece;
}

}  // namespace activeset::frontend
